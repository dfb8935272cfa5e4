#include "ui/BrondelMainWindow.h"

#include "processing/GenerationProgress.h"
#include "sets/BrondelCore.h"
#include "ui_BrondelMainWindow.h"

#include <QEventLoop>
#include <QProgressDialog>
#include <QThread>
#include <QTimer>

// A generation can take minutes on a large sheet. It runs on a worker thread while the GUI thread keeps
// painting and answers the progress dialog; the dialog is application-modal and the window's own
// timers and drop handling check `generating`, so nothing else reaches the core until the run ends.
void BrondelMainWindow::RunGeneration(const QString& title, const std::function<void()>& work)
{
    QProgressDialog dialog(title, QStringLiteral("Cancel"), 0, 100, this);
    dialog.setWindowTitle(QStringLiteral("Brondel"));
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.setAutoClose(false);
    dialog.setAutoReset(false);
    dialog.setMinimumDuration(0);
    dialog.setValue(0);

    // Percentages arrive on the worker thread; the dialog is told on its own.
    GenerationProgress progress([&dialog](int percent) {
        QMetaObject::invokeMethod(
            &dialog, [&dialog, percent] { dialog.setValue(percent); }, Qt::QueuedConnection);
    });
    connect(&dialog, &QProgressDialog::canceled, &dialog, [&progress, &dialog] {
        progress.RequestCancel();
        // Keep the dialog up until the generator has noticed and put the set back.
        dialog.setLabelText(QStringLiteral("Cancelling..."));
        dialog.show();
    });

    generating = true;
    previewsStale = false;
    const bool animating = frameTimer->isActive();
    frameTimer->stop();
    // The maps are rewritten in place: the viewport keeps its last frame rather than upload half a map.
    ui->lightingPreviewWindow->SetPaused(true);
    ui->centralWidget->setEnabled(false);
    core->SetGenerationProgress(&progress);

    QEventLoop loop;
    QThread* worker = QThread::create(work);
    connect(worker, &QThread::finished, &loop, &QEventLoop::quit);
    worker->start();
    dialog.show();
    loop.exec();
    worker->wait();
    delete worker;

    core->SetGenerationProgress(nullptr);
    // Late percentages queued by the worker must not reach the dialog after it is gone.
    QCoreApplication::removePostedEvents(&dialog);
    dialog.hide();
    ui->centralWidget->setEnabled(true);
    ui->lightingPreviewWindow->SetPaused(false);
    generating = false;
    if (animating)
        frameTimer->start();
    ReselectCurrentSet();
    ParameterChanged();
}
