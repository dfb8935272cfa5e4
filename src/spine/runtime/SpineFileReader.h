#pragma once
#include <QByteArray>

#include <functional>
#include <string>

// The whole-file reading hook: every file the runtime opens (skeleton JSON, atlas text) is read
// through one of these, so a host can serve files from resources or memory. False means unreadable.
using SpineFileReader = std::function<bool(const std::string& path, QByteArray& bytes)>;

// The default hook: reads the file from disk, refusing anything larger than the limit so a stray
// multi-gigabyte file cannot exhaust memory before parsing even starts.
bool ReadSpineFileFromDisk(const std::string& path, QByteArray& bytes);
