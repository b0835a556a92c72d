#include "ui/DarkTheme.h"

#include <QApplication>
#include <QStyleFactory>

QPalette darkPalette()
{
    const QColor window(0x1e, 0x1e, 0x1e);
    const QColor base(0x2a, 0x2a, 0x2a);
    const QColor button(0x3a, 0x3a, 0x3a);
    const QColor text(0xf2, 0xf2, 0xf2);
    const QColor dimmed(0x80, 0x80, 0x80);
    const QColor accent(0x0a, 0x84, 0xff);

    QPalette palette;
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const bool disabled = group == QPalette::Disabled;
        palette.setColor(group, QPalette::Window, window);
        palette.setColor(group, QPalette::WindowText, disabled ? dimmed : text);
        palette.setColor(group, QPalette::Base, base);
        palette.setColor(group, QPalette::AlternateBase, QColor(0x33, 0x33, 0x33));
        palette.setColor(group, QPalette::Text, disabled ? dimmed : text);
        palette.setColor(group, QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0x9a));
        palette.setColor(group, QPalette::Button, button);
        palette.setColor(group, QPalette::ButtonText, disabled ? dimmed : text);
        palette.setColor(group, QPalette::BrightText, QColor(0xff, 0x45, 0x3a));
        // The bevel shades, from lightest to darkest, around the button colour.
        palette.setColor(group, QPalette::Light, QColor(0x5a, 0x5a, 0x5a));
        palette.setColor(group, QPalette::Midlight, QColor(0x4a, 0x4a, 0x4a));
        palette.setColor(group, QPalette::Mid, QColor(0x6e, 0x6e, 0x6e));
        palette.setColor(group, QPalette::Dark, QColor(0x14, 0x14, 0x14));
        palette.setColor(group, QPalette::Shadow, QColor(0x00, 0x00, 0x00));
        palette.setColor(group, QPalette::Highlight, disabled ? QColor(0x4a, 0x4a, 0x4a) : accent);
        palette.setColor(group, QPalette::HighlightedText, disabled ? dimmed : Qt::white);
        palette.setColor(group, QPalette::Link, QColor(0x4d, 0xa6, 0xff));
        palette.setColor(group, QPalette::LinkVisited, QColor(0xb3, 0x8c, 0xff));
        palette.setColor(group, QPalette::ToolTipBase, QColor(0x30, 0x30, 0x30));
        palette.setColor(group, QPalette::ToolTipText, text);
        palette.setColor(group, QPalette::NoRole, window);
    }
    return palette;
}

void applyDarkTheme(QApplication& application)
{
    if (QStyle* fusion = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(fusion);
    application.setPalette(darkPalette());
}
