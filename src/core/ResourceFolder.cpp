#include "core/ResourceFolder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>

namespace {
std::string WithSlash(const QString& folder)
{
    QString path = QDir::cleanPath(folder);
    if (!path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    return path.toStdString();
}
} // namespace

std::string FindResourceFolder()
{
    const QByteArray fromEnvironment = qgetenv("BRONDEL_RESOURCES");
    if (!fromEnvironment.isEmpty())
        return WithSlash(QString::fromLocal8Bit(fromEnvironment));
    if (QCoreApplication::instance() != nullptr)
    {
        const QDir exeDir(QCoreApplication::applicationDirPath());
        if (QFileInfo(exeDir.filePath(QStringLiteral("Shaders"))).isDir())
            return WithSlash(exeDir.absolutePath());
        const QString shared = exeDir.filePath(QStringLiteral("../share/brondel"));
        if (QFileInfo(shared).isDir())
            return WithSlash(shared);
    }
    return {};
}

void ConfigureImageReading()
{
    QImageReader::setAllocationLimit(2048);
}
