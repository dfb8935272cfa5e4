#include "ui/UITestSupport.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPixmap>

ExampleCopy::ExampleCopy()
{
    const QDir examples(QStringLiteral(BRONDEL_RESOURCE_DIR "Examples"));
    for (const QString& name : examples.entryList({QStringLiteral("ExampleHead_*.png")}, QDir::Files))
        QFile::copy(examples.filePath(name), dir.filePath(name));
}

QString ExampleCopy::File(const QString& suffix) const
{
    return dir.filePath(QStringLiteral("ExampleHead_%1.png").arg(suffix));
}

QImage PreviewPicture(const QLabel* label)
{
    return label->pixmap().toImage();
}

QByteArray ReadBytes(const QString& filename)
{
    QFile file(filename);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}
