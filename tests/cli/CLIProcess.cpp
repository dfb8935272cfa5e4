#include "cli/CLIProcess.h"

#include "core/Image.h"
#include "core/Vector3D.h"
#include "support/TestImages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cmath>

CLIProcessResult RunBrondelCLI(const std::string& folder, const std::vector<std::string>& words,
                               const QStringList& environment, int timeLimitMs, const QByteArray& input)
{
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.remove(QStringLiteral("DISPLAY"));
    variables.remove(QStringLiteral("WAYLAND_DISPLAY"));
    for (const QString& entry : environment)
        variables.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(variables);
    process.setWorkingDirectory(QString::fromStdString(folder));
    QStringList arguments;
    for (const std::string& word : words)
        arguments << QString::fromStdString(word);
    process.start(QStringLiteral(BRONDEL_CLI_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    CLIProcessResult result;
    if (!process.waitForFinished(timeLimitMs))
    {
        result.timedOut = true;
        process.kill();
        process.waitForFinished();
        return result;
    }
    if (process.exitStatus() == QProcess::NormalExit)
        result.status = process.exitCode();
    result.out = process.readAllStandardOutput().toStdString();
    result.err = process.readAllStandardError().toStdString();
    return result;
}

QByteArray FileBytes(const std::string& path)
{
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void WriteDome(const std::string& base, const std::string& extension)
{
    QDir().mkpath(QFileInfo(QString::fromStdString(base)).absolutePath());
    const auto normal = [](int x, int y) {
        const float nx = (x - 7.5f) / 8.0f;
        const float ny = (7.5f - y) / 8.0f;
        return Vector3D(nx, ny, std::sqrt(std::fmax(0.0f, 1.0f - nx * nx - ny * ny)));
    };
    const std::pair<const char*, Vector3D> lights[] = {{"_Left", {-1, 0, 0}},
                                                       {"_Right", {1, 0, 0}},
                                                       {"_Top", {0, 1, 0}},
                                                       {"_Bottom", {0, -1, 0}},
                                                       {"_Front", {0, 0, 1}}};
    for (const auto& [suffix, light] : lights)
        MakeGrey(16, 16, [&](int x, int y) {
            return std::fmax(0.0f, Vector3D::DotProduct(normal(x, y), light));
        })->SaveToDisk(base + suffix + extension);
    MakeImage(16, 16, [&](int x, int y) {
        return Colour(0.2f + 0.2f * static_cast<float>(x / 4), 0.5f, 0.8f,
                      normal(x, y).z > 0.0f ? 1.0f : 0.0f);
    })->SaveToDisk(base + "_Diffuse" + extension);
    MakeGrey(16, 16, [](int x, int y) {
        return static_cast<float>((x * 3 + y * 5) % 16) / 15.0f;
    })->SaveToDisk(base + "_Flow" + extension);
}
