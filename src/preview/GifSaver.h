#pragma once
#include "preview/GifWriter.h"

#include <memory>
#include <string>

class Image;
class LogOutput;
class QImage;

// Records the preview's light animation into a GIF one frame at a time: 5 hundredths of a second a
// frame, 256 colours, no dithering. Destroyed without SaveGif, it leaves any existing file untouched.
class GifSaver
{
public:
    // `renderer` identifies the preview that records; the saver only keeps it.
    GifSaver(int renderer, std::string filename, int width, int height);
    ~GifSaver();
    GifSaver(const GifSaver&) = delete;
    GifSaver& operator=(const GifSaver&) = delete;

    // False when the frame could not be added (no open file, or a frame of another size).
    bool AddFrame(QImage* frame);
    bool AddFrame(Image* frame);
    // Finishes and writes the file. A failure is logged with the file's name and the reason.
    bool SaveGif(LogOutput* log);

    int GetFrameCount() const { return frameCount; }
    int GetRenderer() const { return renderer; }
    // Why the recording failed, or empty.
    const std::string& GetError() const { return writer->error; }

private:
    bool Add(const std::uint8_t* rgba);

    int renderer;
    int frameCount = 0;
    int width;
    int height;
    std::unique_ptr<GifWriter> writer;
};
