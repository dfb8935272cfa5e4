#include "ui/HelpWindow.h"

#include <QFileInfo>
#include <QTextBrowser>
#include <QUrl>

HelpWindow::HelpWindow(QWidget* parent) : QMainWindow(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("Brondel Help"));
    resize(1280, 640);
    helpDisplay = new QTextBrowser(this);
    helpDisplay->setObjectName(QStringLiteral("helpDisplay"));
    helpDisplay->setOpenExternalLinks(true);
    setCentralWidget(helpDisplay);
}

void HelpWindow::SetHelpTarget(const QString& file, const QString& newAnchor)
{
    anchor = newAnchor;
    QUrl url = QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath());
    // The browser caches the document by URL; clearing first makes it read the file again.
    helpDisplay->clear();
    helpDisplay->clearHistory();
    helpDisplay->setSource(url);
    helpDisplay->reload();
    if (!anchor.isEmpty())
        helpDisplay->scrollToAnchor(anchor);
}
