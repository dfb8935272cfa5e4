#pragma once
#include <QByteArray>
#include <QImage>
#include <QString>
#include <QTemporaryDir>

class QLabel;

// How many "No matching signal" warnings the widget tests have seen so far.
int SlotWarningCount();

// A private copy of the example head's inputs, so saves never land in the source tree.
struct ExampleCopy
{
    ExampleCopy();
    QString File(const QString& suffix) const; // "Left" -> <dir>/ExampleHead_Left.png
    QTemporaryDir dir;
};

QImage PreviewPicture(const QLabel* label);
QByteArray ReadBytes(const QString& filename);
