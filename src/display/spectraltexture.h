// The thread that keeps the picture of one channel of one layer up to date.
#pragma once

#include "base/locks.h"
#include "display/spectralrenderer.h"

#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <vector>

// The view asks at every repaint, cheaply; the thread wakes when something changed, renders the newest
// request and queues the block; `textureAvailable` makes the view repaint and take it. The GUI thread
// never waits for a render: only for `requestMutex` and for the queue's lock, both held for a few
// copies. A burst of requests during a render becomes one further render.
//
// All members are called from the GUI thread but run(). Lock order: documentLock (read, held for a
// whole render), then one of the two mutexes, never both.
class SpectralTexture : public QThread
{
    Q_OBJECT

public:
    // Reads the property "maxtexsize", a power of two and the most columns that a texture may have.
    SpectralTexture(ILayerPtr layer, int channel, std::shared_ptr<const Transform> settings,
                    QObject* parent = nullptr);
    ~SpectralTexture() override;

    // For the requests to come. Any picture made before stays until the next request.
    void setTransform(std::shared_ptr<const Transform> settings);
    // Asks for `area` (samples, Hz) in `textureSize` device pixels. Nothing happens if that is what was
    // asked for last, unless `updateContent` tells that the layer's samples may have changed.
    void requestTex(const Area& area, const QSize& textureSize, float timeSharpen, float freqSharpen,
                    FreqScale freqScale, Filtering filtering, bool updateContent = false);
    // Stops the thread and forgets everything; a request later starts it again. Waits for the columns
    // in work, not for the picture. Not while the caller holds documentLock for writing, since the
    // thread may be waiting for it.
    void clean();

    // Finished blocks and their lock. Only the newest, the last, is of interest.
    [[nodiscard]] std::vector<SpectralTextureDataPtr>& getTexQueue() { return m_texQueue; }
    void lockTexQueue() { m_queueMutex.lock(); }
    void unlockTexQueue() { m_queueMutex.unlock(); }

    // Whether a picture asked for is still to be rendered or to be taken from the queue.
    [[nodiscard]] bool isOutstanding();
    // Renders since the thread was made, for tests.
    [[nodiscard]] int64_t renderCount() const { return m_renderCount; }

Q_SIGNALS:
    // From the texture thread: a connected slot of the GUI runs queued.
    void textureAvailable();

protected:
    void run() override;

private:
    void render();
    [[nodiscard]] TextureRequest takeRequest(bool& refresh, int64_t& number);

    const int m_maxTexSize;
    const ILayerPtr m_layer;
    const int m_channel;
    std::shared_ptr<const Transform> m_settings; // GUI thread

    Mutex m_requestMutex;
    TextureRequest m_request;    // guarded by m_requestMutex
    bool m_forceContent = false; // guarded by m_requestMutex
    int64_t m_requested = 0;     // guarded by m_requestMutex: number of the newest request,
    int64_t m_rendered = 0;      // and of the last one that was rendered
    // Never above 1.
    QSemaphore m_wakeSemaphore;
    std::atomic<bool> m_cancel{false};
    std::atomic<int64_t> m_renderCount{0};

    // The texture thread's own, or the GUI thread's while that does not run.
    SpectralRenderer m_renderer;

    Mutex m_queueMutex;
    std::vector<SpectralTextureDataPtr> m_texQueue; // guarded by m_queueMutex
};
