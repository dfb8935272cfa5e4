#include "ui/BrondelLogWindow.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QThread>

BrondelLogWindow::BrondelLogWindow(QWidget* parent) : QMainWindow(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("Brondel Log"));
    resize(800, 600);
    auto* central = new QWidget(this);
    setCentralWidget(central);
    textArea = new QPlainTextEdit(central);
    textArea->setObjectName(QStringLiteral("logText"));
    textArea->setReadOnly(true);
    textArea->setGeometry(10, 10, 790, 530);
    clearButton = new QPushButton(QStringLiteral("Clear Log"), central);
    clearButton->setObjectName(QStringLiteral("clearButton"));
    clearButton->move(10, 540);
    QMetaObject::connectSlotsByName(this);
}

void BrondelLogWindow::AppendLine(const std::string& text)
{
    const QString line = QString::fromStdString(text);
    if (QThread::currentThread() == thread())
    {
        // Lines a worker wrote earlier are still on their way: they go first, so the log keeps the
        // order in which things happened.
        FlushPending();
        AppendText(line);
        return;
    }
    bool first = false;
    {
        const QMutexLocker lock(&pendingMutex);
        first = pending.isEmpty();
        pending.append(line);
    }
    if (first)
        QMetaObject::invokeMethod(this, &BrondelLogWindow::FlushPending, Qt::QueuedConnection);
}

void BrondelLogWindow::FlushPending()
{
    QStringList lines;
    {
        const QMutexLocker lock(&pendingMutex);
        lines.swap(pending);
    }
    for (const QString& line : lines)
        AppendText(line);
}

void BrondelLogWindow::AppendText(const QString& text)
{
    textArea->appendPlainText(text);
}

QString BrondelLogWindow::GetText() const
{
    return textArea->toPlainText();
}

void BrondelLogWindow::on_clearButton_clicked()
{
    textArea->clear();
}
