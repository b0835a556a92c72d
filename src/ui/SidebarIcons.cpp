#include "ui/SidebarIcons.h"

// Outside any namespace, as the registration function it declares lives in the global one.
static int registerSidebarIcons()
{
    // The resources live in a static library, whose registration the linker would otherwise
    // drop: registering them here, on first use, keeps them in.
    Q_INIT_RESOURCE(sidebar_icons);
    return 0;
}

QIcon sidebarIcon(const QString& name)
{
    static const int registered = registerSidebarIcons();
    Q_UNUSED(registered);
    return QIcon(QStringLiteral(":/ui/") + name + QStringLiteral(".svg"));
}
