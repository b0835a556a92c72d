// Where this build's sources, build folder and program are (absolute paths), for the tests
// that start the program or read files of the checkout. Defined in a file the build generates.
#pragma once

#include <QString>

QString vornikSourceDir();
QString vornikBinaryDir();
QString vornikExecutable();
