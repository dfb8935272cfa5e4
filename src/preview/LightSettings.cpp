#include "preview/LightSettings.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

#include <fstream>
#include <sstream>

namespace {
const char* const kLabels[12] = {
    "Background colour:",        "Direct light colour:",          "Upper ambient colour:",
    "Lower ambient colour:",     "Direct light multiplier:",      "Upper ambient multiplier:",
    "Lower ambient multiplier:", "Upper and lower ambient lock:", "Using directional light:",
    "Render light source icon:", "Light attenuation factor:",     "Light wrap amount:"};

// A missing line reads as empty, exactly as a blank one would.
std::string NextValueLine(std::istream& in)
{
    std::string line;
    std::getline(in, line); // the label, never compared: the file is read by position
    line.clear();
    std::getline(in, line);
    return line;
}

void ReadColour(std::istream& in, Colour& colour)
{
    const std::string line = NextValueLine(in);
    try
    {
        colour.GetFromString(line);
    }
    catch (const std::exception&)
    {
        // A damaged colour keeps what it had; the rest of the file is still worth reading.
    }
}
} // namespace

bool LightSettings::WriteToFile(std::string filename, std::string* errorText) const
{
    std::ostringstream out;
    const auto entry = [&out](int index, const auto& value) {
        out << kLabels[index] << "\n" << value << "\n";
    };
    entry(0, backgroundColour.GetAsString());
    entry(1, directLightColour.GetAsString());
    entry(2, upperAmbientColour.GetAsString());
    entry(3, lowerAmbientColour.GetAsString());
    entry(4, static_cast<double>(directLightMultiplier));
    entry(5, static_cast<double>(upperAmbientMultiplier));
    entry(6, static_cast<double>(lowerAmbientMultiplier));
    entry(7, ambientLock ? 1 : 0);
    entry(8, usingDirectionalLight ? 1 : 0);
    entry(9, renderLightSourceIcon ? 1 : 0);
    entry(10, static_cast<double>(lightAttenuationFactor));
    entry(11, static_cast<double>(lightWrapAmount));

    const std::string text = out.str();
    QSaveFile file(QString::fromUtf8(filename.c_str()));
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) ||
        !file.commit())
    {
        if (errorText)
            *errorText = file.errorString().toStdString();
        file.cancelWriting();
        return false;
    }
    return true;
}

void LightSettings::ReadFromFile(std::string filename)
{
    std::ifstream in(filename);
    if (!in)
        return;
    ReadColour(in, backgroundColour);
    ReadColour(in, directLightColour);
    ReadColour(in, upperAmbientColour);
    ReadColour(in, lowerAmbientColour);
    directLightMultiplier = std::stof(NextValueLine(in));
    upperAmbientMultiplier = std::stof(NextValueLine(in));
    lowerAmbientMultiplier = std::stof(NextValueLine(in));
    ambientLock = std::stoi(NextValueLine(in)) != 0;
    usingDirectionalLight = std::stoi(NextValueLine(in)) != 0;
    renderLightSourceIcon = std::stoi(NextValueLine(in)) != 0;
    lightAttenuationFactor = std::stof(NextValueLine(in));
    lightWrapAmount = std::stof(NextValueLine(in));
}

bool LightSettings::ReadFromFileKeepingValues(std::string filename)
{
    const LightSettings before = *this;
    try
    {
        ReadFromFile(std::move(filename));
        return true;
    }
    catch (const std::exception&)
    {
        *this = before;
        return false;
    }
}

std::string LightSettings::GetDefaultsPathForReading(const std::string& resourceFolder)
{
    std::string saved = GetDefaultsPathForWriting();
    if (!saved.empty() && QFile::exists(QString::fromUtf8(saved.c_str())))
        return saved;
    return resourceFolder + kDefaultFilename;
}

std::string LightSettings::GetDefaultsPathForWriting()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    if (folder.isEmpty() || !QDir().mkpath(folder))
        return {};
    return QDir(folder).filePath(QString::fromUtf8(kDefaultFilename)).toStdString();
}
