#pragma once
#include "sets/LogOutput.h"

#include <QMainWindow>
#include <QMutex>
#include <QStringList>

class QPlainTextEdit;
class QPushButton;

// Collects every progress and error line the core, the generators and the renderer write, from whichever
// thread writes them.
class BrondelLogWindow : public QMainWindow, public LogWindow
{
    Q_OBJECT

public:
    explicit BrondelLogWindow(QWidget* parent = nullptr);

    // Safe from any thread: lines from a worker are queued to the GUI thread in the order written.
    void AppendLine(const std::string& text) override;
    void AppendText(const QString& text);
    QString GetText() const;

private slots:
    void on_clearButton_clicked();

private:
    // Moves the lines other threads wrote into the text area, oldest first.
    void FlushPending();

    QMutex pendingMutex;
    QStringList pending;
    QPlainTextEdit* textArea;
    QPushButton* clearButton;
};
