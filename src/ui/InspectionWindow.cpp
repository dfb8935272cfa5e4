#include "ui/InspectionWindow.h"

#include "core/Image.h"

#include <QImage>
#include <QLabel>

InspectionWindow::InspectionWindow(QWidget* parent) : QMainWindow(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("Image Inspection"));
    resize(521, 535);
    picture = new QLabel(this);
    picture->setObjectName(QStringLiteral("imageLabel"));
    picture->setScaledContents(true);
    setCentralWidget(picture);
}

int InspectionWindow::WidthFor(int imageWidth, int imageHeight)
{
    if (imageHeight <= 0)
        return 500;
    return 500 * (imageWidth / imageHeight);
}

void InspectionWindow::SetImage(const Image& image)
{
    if (image.GetColourPlane() == nullptr)
        return;
    picture->setPixmap(
        QPixmap::fromImage(image.GetColourPlane()->scaledToHeight(512, Qt::FastTransformation)));
    // A frame narrower than it is tall asks for no width at all; the window system then keeps its
    // smallest width.
    resize(WidthFor(image.GetWidth(), image.GetHeight()), 500);
}
