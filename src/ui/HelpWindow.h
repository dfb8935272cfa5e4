#pragma once
#include <QMainWindow>

class QTextBrowser;

// The manual, opened at the section of the control the artist asked about.
class HelpWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit HelpWindow(QWidget* parent = nullptr);

    // Loads the page afresh (so an edited manual shows at once) and scrolls to the anchor.
    void SetHelpTarget(const QString& file, const QString& anchor);
    QTextBrowser* GetDisplay() const { return helpDisplay; }
    const QString& GetAnchor() const { return anchor; }

private:
    QTextBrowser* helpDisplay;
    QString anchor;
};
