#pragma once
#include <QMainWindow>

class Image;
class QLabel;

// One image of the current set shown large, opened from a preview's "Examine image".
class InspectionWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit InspectionWindow(QWidget* parent = nullptr);

    void SetImage(const Image& image);
    // The window width for an image: 500 times the whole number of widths per height, so a sheet of
    // frames shows side by side at the height of one.
    static int WidthFor(int imageWidth, int imageHeight);

private:
    QLabel* picture;
};
