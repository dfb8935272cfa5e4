#include "spine/runtime/SpineFileReader.h"

#include <QFile>

namespace {
constexpr qint64 LargestSpineFile = 256LL * 1024 * 1024;
}

bool ReadSpineFileFromDisk(const std::string& path, QByteArray& bytes)
{
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly) || file.size() > LargestSpineFile)
        return false;
    bytes = file.readAll();
    return true;
}
