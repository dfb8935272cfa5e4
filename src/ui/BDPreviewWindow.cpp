#include "ui/BDPreviewWindow.h"

#include "preview/LightingPreview.h"
#include "sets/BrondelCore.h"

#include <QMouseEvent>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QTimer>
#include <QWheelEvent>

#include <iostream>

BDPreviewWindow::BDPreviewWindow(QWidget* parent) : QOpenGLWidget(parent)
{
    repaintTimer = new QTimer(this);
    connect(repaintTimer, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    repaintTimer->start(kRepaintMilliseconds);
    frameClock.start();
    setMouseTracking(true);
}

BDPreviewWindow::~BDPreviewWindow()
{
    // The shader programs and textures live in this widget's context: free them while it still exists.
    // The base class destroys the context after this object is gone, so its signal must no longer
    // reach us then.
    if (context() != nullptr)
        disconnect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
                   &BDPreviewWindow::ReleaseGLResources);
    ReleaseGLResources();
}

void BDPreviewWindow::ReleaseGLResources()
{
    if (preview == nullptr || context() == nullptr)
        return;
    makeCurrent();
    preview->ClearShaders();
    doneCurrent();
}

void BDPreviewWindow::initializeGL()
{
    QOpenGLFunctions* gl = context()->functions();
    gl->glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
    if (preview != nullptr)
        preview->LoadShaders();
    gl->glEnable(GL_TEXTURE_2D);
    gl->glEnable(GL_DEPTH_TEST);
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &BDPreviewWindow::ReleaseGLResources,
            Qt::UniqueConnection);
}

void BDPreviewWindow::resizeGL(int w, int h)
{
    std::cout << "Window size is now: " << w << " by " << h << "." << std::endl;
    if (preview != nullptr)
        preview->Resize(w, h);
}

void BDPreviewWindow::SetPaused(bool pause)
{
    paused = pause;
    if (pause)
        repaintTimer->stop();
    else
    {
        // The time spent paused is not animation time.
        frameClock.restart();
        repaintTimer->start(kRepaintMilliseconds);
    }
}

void BDPreviewWindow::paintGL()
{
    if (paused)
        return;
    if (preview != nullptr)
    {
        preview->DoNecessaryScreenshotStuff();
        preview->ClearScreen();
        preview->DoPreDrawBinding();
        preview->GetCamera().SetOpenGLMatrices();
        preview->RenderSprite();
        preview->DrawLight();
    }
    const qint64 elapsed = frameClock.restart();
    if (preview != nullptr)
        preview->StepFrame(static_cast<float>(elapsed));
}

void BDPreviewWindow::mousePressEvent(QMouseEvent* event)
{
    const QPoint p = event->position().toPoint();
    if (core == nullptr)
        return;
    if (event->button() == Qt::LeftButton)
        core->ReceiveMouseButton(p.x(), p.y(), 0, false);
    else if (event->button() == Qt::RightButton)
        core->ReceiveMouseButton(p.x(), p.y(), 1, false);
}

void BDPreviewWindow::mouseReleaseEvent(QMouseEvent* event)
{
    const QPoint p = event->position().toPoint();
    if (core == nullptr)
        return;
    if (event->button() == Qt::LeftButton)
        core->ReceiveMouseButton(p.x(), p.y(), 0, true);
    else if (event->button() == Qt::RightButton)
        core->ReceiveMouseButton(p.x(), p.y(), 1, true);
}

void BDPreviewWindow::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint p = event->position().toPoint();
    if (core != nullptr)
        core->ReceiveMousePosition(p.x(), p.y());
}

void BDPreviewWindow::wheelEvent(QWheelEvent* event)
{
    const int vertical = event->angleDelta().y();
    // One step per 120 units, a notch on most mice; half a notch does nothing.
    if (vertical != 0 && preview != nullptr)
    {
        const int steps = (vertical / 8) / 15;
        if (steps != 0)
            preview->GetCamera().Zoom(static_cast<float>(-steps) * 0.75f);
    }
    event->accept();
}
