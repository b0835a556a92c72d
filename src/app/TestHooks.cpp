#include "app/TestHooks.h"

#include "editor/VideoEditorViewModel.h"
#include "ui/MainWindow.h"

#include <QAbstractButton>
#include <QFile>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>

void installTestHooks(MainWindow& window)
{
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
