// The file under an import, as FFmpeg reads it.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include <QFile>
#include <QString>

struct AVIOContext;

// What the first chunks of a WAV tell, and where their ids need another spelling.
struct WaveHead
{
    bool isWave = false;
    bool hasFormat = false; // `channels` and `rate` were found
    int channels = 0;
    int64_t rate = 0;
    int align = 0;          // bytes of one sample point
    int64_t dataBegin = -1; // position of the first sample; -1: no data chunk
    int64_t dataBytes = -1; // as the file announces it; -1: open end (written as a stream)
};

// A regular file behind an AVIOContext of our own: nothing else can be opened through it, whatever
// a hostile file names, and reading ends as soon as `stop` is set. FFmpeg takes the ids of WAV
// chunks in their usual spelling only, so they are respelled on the way. Used from one thread.
class InputFile
{
public:
    InputFile();
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // False when this is no regular file that we may read; error() tells why.
    [[nodiscard]] bool open(const QString& path);
    [[nodiscard]] QString error() const { return m_error; }
    [[nodiscard]] int64_t size() const { return m_size; }
    [[nodiscard]] const WaveHead& waveHead() const { return m_head; }
    [[nodiscard]] AVIOContext* context() const { return m_context; }

    // How far reading has come, in bytes; any thread.
    std::atomic<int64_t> position = 0;
    // Set from any thread.
    std::atomic<bool> stop = false;

private:
    struct Respelling
    {
        int64_t offset;
        char id[4];
    };
    static int readCallback(void* self, uint8_t* out, int count);
    static int64_t seekCallback(void* self, int64_t offset, int whence);
    void readWaveHead();
    void respell(int64_t offset, const char* found, const char* usual);
    int64_t readAt(char* out, int64_t count, int64_t offset);

    QFile m_file;
    int64_t m_size = 0;
    WaveHead m_head;
    std::vector<Respelling> m_respellings; // rising offsets
    AVIOContext* m_context = nullptr;
    QString m_error;
};
