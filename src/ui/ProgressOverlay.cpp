#include "ui/ProgressOverlay.h"

#include "editor/VideoEditorViewModel.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>

namespace {

// A circular activity indicator (an arc that turns), 1.5 times the usual 20-point size.
class ActivityIndicator : public QWidget {
public:
    explicit ActivityIndicator(QWidget* parent)
        : QWidget(parent)
    {
        setObjectName(QStringLiteral("activityIndicator"));
        setFixedSize(30, 30);
        m_timer.setInterval(50);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_angle = (m_angle + 30) % 360;
            update();
        });
    }

protected:
    void showEvent(QShowEvent*) override { m_timer.start(); }
    void hideEvent(QHideEvent*) override { m_timer.stop(); }
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPen pen(palette().color(QPalette::WindowText), 3, Qt::SolidLine, Qt::RoundCap);
        painter.setPen(pen);
        painter.drawArc(QRectF(rect()).adjusted(3, 3, -3, -3), -m_angle * 16, 270 * 16);
    }

private:
    QTimer m_timer;
    int m_angle = 0;
};

QLabel* makeLabel(const QString& objectName, double pointSize, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setAlignment(Qt::AlignCenter);
    QFont font = label->font();
    font.setPixelSize(qRound(pointSize));
    label->setFont(font);
    return label;
}

} // namespace

ProgressOverlay::ProgressOverlay(VideoEditorViewModel& viewModel, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
{
    setObjectName(QStringLiteral("progressOverlay"));
    auto* outer = new QVBoxLayout(this);
    m_panel = new QWidget(this);
    m_panel->setObjectName(QStringLiteral("progressPanel"));
    // The panel paints its own translucent background (see paintPanel); the window around it
    // stays as it is, only guarded against clicks while the overlay is up.
    m_panel->installEventFilter(this);
    auto* column = new QVBoxLayout(m_panel);
    column->setContentsMargins(40, 30, 40, 30);
    column->setSpacing(14);
    column->addWidget(new ActivityIndicator(m_panel), 0, Qt::AlignHCenter);
    m_title = makeLabel(QStringLiteral("progressTitle"), 18, m_panel);
    m_title->setText(title());
    column->addWidget(m_title);
    m_bar = new QProgressBar(m_panel);
    m_bar->setObjectName(QStringLiteral("progressBar"));
    m_bar->setRange(0, 1000);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(300);
    column->addWidget(m_bar, 0, Qt::AlignHCenter);
    m_percent = makeLabel(QStringLiteral("progressPercent"), 13, m_panel);
    column->addWidget(m_percent);
    m_text = makeLabel(QStringLiteral("progressText"), 16, m_panel);
    column->addWidget(m_text);
    outer->addWidget(m_panel, 0, Qt::AlignCenter);

    if (parent)
        parent->installEventFilter(this);
    connect(&m_viewModel, &VideoEditorViewModel::changed, this, &ProgressOverlay::refresh);
    refresh();
}

QString ProgressOverlay::percentText(double progress)
{
    const double percent = progress * 100.0;
    const long long whole = std::isfinite(percent) ? static_cast<long long>(percent) : 0;
    return QString::number(whole) + QLatin1Char('%');
}

void ProgressOverlay::refresh()
{
    const double progress = m_viewModel.savingProgress();
    m_bar->setValue(static_cast<int>(std::lround(qBound(0.0, progress, 1.0) * 1000)));
    m_percent->setText(percentText(progress));
    m_text->setText(m_viewModel.savingProgressText());
    const bool shown = m_viewModel.isSavingProject();
    if (shown && parentWidget())
        setGeometry(parentWidget()->rect());
    if (shown)
        raise();
    setVisible(shown);
}

bool ProgressOverlay::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    if (watched == m_panel && event->type() == QEvent::Paint)
        paintPanel();
    return QWidget::eventFilter(watched, event);
}

void ProgressOverlay::paintPanel()
{
    // The panel's background: the window colour at 0.8 opacity, with rounded corners.
    QPainter painter(m_panel);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(panelColor());
    painter.drawRoundedRect(QRectF(m_panel->rect()), 12, 12);
}

QColor ProgressOverlay::panelColor() const
{
    QColor color = palette().color(QPalette::Window);
    color.setAlphaF(0.8f);
    return color;
}
