#pragma once
#include <QElapsedTimer>
#include <QOpenGLWidget>

class BrondelCore;
class LightingPreview;
class QTimer;

// The OpenGL viewport showing the lit sprite: repaints about every 50 ms, asks the renderer to draw
// each frame, steps its animation by the real time between paints, and turns mouse and wheel input
// into calls on the core controller and the camera.
class BDPreviewWindow : public QOpenGLWidget
{
    Q_OBJECT

public:
    explicit BDPreviewWindow(QWidget* parent = nullptr);
    ~BDPreviewWindow() override;

    void SetRenderer(LightingPreview* renderer) { preview = renderer; }
    void SetCore(BrondelCore* brondelCore) { core = brondelCore; }
    // While a generation runs on another thread the maps are being rewritten: a paused preview keeps
    // showing its last frame and touches neither the renderer nor the maps until resumed.
    void SetPaused(bool pause);
    bool IsPaused() const { return paused; }
    static constexpr int kRepaintMilliseconds = 50;

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void ReleaseGLResources();

    QTimer* repaintTimer = nullptr;
    LightingPreview* preview = nullptr;
    BrondelCore* core = nullptr;
    QElapsedTimer frameClock;
    bool paused = false;
};
