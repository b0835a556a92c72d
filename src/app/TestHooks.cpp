#include "app/TestHooks.h"

#include "editor/VideoEditorViewModel.h"
#include "ui/MainWindow.h"

#include "support/Log.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>

#include <new>
#include <stdexcept>
#include <string>

namespace {

// Delivers a drop of one file onto the widget with the given object name, through the same
// drag-enter and drop events a file manager's drop produces.
void dropFile(MainWindow& window, const QString& widgetName, const QString& path)
{
    auto* widget = window.findChild<QWidget*>(widgetName);
    if (!widget) {
        logLine(QStringLiteral("[E2E] nincs ilyen elem: ") + widgetName);
        return;
    }
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    const QPoint centre = widget->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &enter);
    QDropEvent drop(QPointF(centre), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &drop);
    logLine(QStringLiteral("[E2E] ejtve: ") + path + QStringLiteral(" -> ") + widgetName);
}

} // namespace

FaultHook faultHookFromEnvironment()
{
    const QString setting = qEnvironmentVariable("VORNIK_TEST_FAULT");
    if (setting.isEmpty())
        return {};
    const bool allocation = setting.endsWith(QStringLiteral(":alloc"));
    const std::string step = (allocation ? setting.chopped(6) : setting).toStdString();
    return [step, allocation](std::string_view at) {
        if (at != step)
            return;
        if (allocation)
            throw std::bad_alloc();
        throw std::runtime_error("injected fault at " + step);
    };
}

void installTestHooks(MainWindow& window)
{
    // Lines "WIDGET PATH" appended to this file are dropped onto the named widget, once each.
    const QString drops = qEnvironmentVariable("VORNIK_E2E_DROPS");
    if (!drops.isEmpty()) {
        auto* timer = new QTimer(&window);
        timer->setInterval(250);
        auto handled = std::make_shared<int>(0);
        QPointer<MainWindow> dropTarget(&window);
        QObject::connect(timer, &QTimer::timeout, &window, [dropTarget, drops, handled] {
            QFile file(drops);
            if (!dropTarget || !file.open(QIODevice::ReadOnly))
                return;
            const QStringList lines =
                    QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            for (; *handled < lines.size(); ++*handled) {
                const QString& line = lines[*handled];
                const qsizetype space = line.indexOf(QLatin1Char(' '));
                if (space > 0)
                    dropFile(*dropTarget, line.left(space), line.mid(space + 1));
            }
        });
        timer->start();
    }

    const QString pages = qEnvironmentVariable("VORNIK_E2E_PAGES");
    const QString audio = qEnvironmentVariable("VORNIK_E2E_AUDIO");
    const QString geometry = qEnvironmentVariable("VORNIK_E2E_GEOMETRY");
    QPointer<MainWindow> target(&window);

    if (!pages.isEmpty() || !audio.isEmpty()) {
        QTimer::singleShot(300, &window, [target, pages, audio] {
            if (!target)
                return;
            for (const QString& page : pages.split(QLatin1Char(':'), Qt::SkipEmptyParts))
                target->editor().addImage(page);
            if (!audio.isEmpty())
                target->editor().loadAudio(audio);
        });
    }

    if (!geometry.isEmpty()) {
        auto* timer = new QTimer(&window);
        timer->setInterval(250);
        QObject::connect(timer, &QTimer::timeout, &window, [target, geometry] {
            if (!target)
                return;
            QByteArray lines;
            for (QAbstractButton* button : target->findChildren<QAbstractButton*>()) {
                if (button->objectName().isEmpty() || !button->isVisible())
                    continue;
                const QPoint centre = button->mapToGlobal(button->rect().center());
                lines += button->objectName().toUtf8() + ' ' + QByteArray::number(centre.x()) + ' ' +
                         QByteArray::number(centre.y()) +
                         (button->isEnabled() ? " enabled\n" : " disabled\n");
            }
            QSaveFile file(geometry);
            if (file.open(QIODevice::WriteOnly)) {
                file.write(lines);
                file.commit();
            }
        });
        timer->start();
    }
}
