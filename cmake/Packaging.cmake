# The Debian package: `cpack -G DEB` in the build folder writes vornik_<version>_<arch>.deb,
# which installs the program under /usr with its desktop integration and documentation.
# The shared-library dependencies come from dpkg-shlibdeps; the rest are named here.

# Debian wants the changelog compressed with maximum compression and no timestamp; the
# package is a native one (no Debian revision), so the file is changelog.gz.
set(VORNIK_DEBIAN_CHANGELOG ${CMAKE_BINARY_DIR}/packaging/changelog.gz)
add_custom_command(OUTPUT ${VORNIK_DEBIAN_CHANGELOG}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/packaging
    COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/packaging/changelog > ${VORNIK_DEBIAN_CHANGELOG}
    DEPENDS ${CMAKE_SOURCE_DIR}/packaging/changelog
    VERBATIM)
add_custom_target(vornik_debian_changelog ALL DEPENDS ${VORNIK_DEBIAN_CHANGELOG})
install(FILES packaging/copyright ${VORNIK_DEBIAN_CHANGELOG}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vornik)

set(CPACK_PACKAGE_NAME vornik)
set(CPACK_PACKAGE_VENDOR "Vornik")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Vornik developers <dev@vornik.hu>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "score video maker from a recording and printed pages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://vornik.hu/")
# The extended description; CPack puts the summary above it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Vornik makes a video of a piece of printed music. Load the pages of the
score (images or PDF pages) and the recording, play it and turn the pages
as the music goes; Vornik writes an H.264 video with the recording, a fade
between pages and the background colour you choose. The interface is
Hungarian.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Beyond the linked libraries: the H.264 encoder FFmpeg loads, Qt's Hungarian texts, the
# picture formats beyond PNG and JPEG, and the SVG icon engine.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libx264-164, qt6-translations-l10n, qt6-image-formats-plugins, libqt6svg6")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_GENERATOR DEB)
include(CPack)
