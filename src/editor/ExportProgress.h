// The progress overlay that covers the window while an export or a project save runs: whether
// it is shown, the bar's share and the text under it. Main thread only. Owned by value by the
// editor, which tells the observers of each field an operation reports as assigned; knows
// nothing of the editor.
#pragma once

#include <QString>

#include <optional>

class ExportProgress {
public:
    // The fields an operation assigned, also those that kept their value: observers hear of
    // every assignment, in the order shown, progress, text.
    struct Assigned {
        bool shown = false;
        bool progress = false;
        bool text = false;
    };

    bool isShown() const { return m_shown; }
    // The bar's share, 0 … 1.
    double progress() const { return m_progress; }
    const QString& text() const { return m_text; }

    // The overlay appears with the bar at `progress`; a text replaces the one shown last.
    Assigned begin(double progress, std::optional<QString> text = std::nullopt);
    // The work moved on: the bar to `progress`, the text to `text`.
    Assigned advance(double progress, QString text);
    // A new stage without a share of its own: only the text changes.
    Assigned describe(QString text);
    // The overlay goes; with a progress, the bar is left there (else where it was).
    Assigned finish(std::optional<double> progress = std::nullopt);

    // One field at a time, for the editor's own setters of each.
    void setShown(bool shown) { m_shown = shown; }
    void setProgress(double progress) { m_progress = progress; }
    void setText(QString text) { m_text = std::move(text); }

private:
    bool m_shown = false;
    double m_progress = 0.0;
    QString m_text;
};
