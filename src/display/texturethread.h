// The thread that keeps the picture of one channel of one layer up to date: how requests, blocks and the
// thread meet, whatever is drawn.
#pragma once

#include "base/locks.h"
#include "model/ilayer.h"

#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// What does not depend on the kind of picture; apart, since a template cannot have signals.
class TextureThreadBase : public QThread
{
    Q_OBJECT

public:
    // Columns that a texture may have beyond those asked for: margins on both sides, interpolated.
    static constexpr int columnReserve = 256;

    TextureThreadBase(ILayerPtr layer, int channel, QObject* parent = nullptr)
        : QThread(parent),
          m_layer(std::move(layer)),
          m_channel(channel)
    {
    }

    // The property "maxtexsize", a power of two and the most columns that a texture may have.
    [[nodiscard]] static int maxTexSize();

    void lockTexQueue() { m_queueMutex.lock(); }
    void unlockTexQueue() { m_queueMutex.unlock(); }
    // Renders since the thread was made, for tests.
    [[nodiscard]] int64_t renderCount() const { return m_renderCount; }

Q_SIGNALS:
    // From the texture thread: a connected slot of the GUI runs queued.
    void textureAvailable();

protected:
    void run() override;
    // Texture thread, once for each time that it was woken, with documentLock held for reading. False
    // when nothing came of it.
    virtual bool renderAndQueue() = 0;
    // With m_requestMutex held.
    void wake();
    void stop();

    const ILayerPtr m_layer;
    const int m_channel;
    Mutex m_requestMutex;
    Mutex m_queueMutex;
    std::atomic<bool> m_cancel{false}; // the render in work is of no use any more
    std::atomic<int64_t> m_renderCount{0};

private:
    QSemaphore m_wakeSemaphore; // never above 1
};

// The view asks at every repaint, cheaply; the thread wakes when something changed, renders the newest
// request and queues the block; `textureAvailable` makes the view repaint and take it. The GUI thread
// never waits for a render: only for the mutexes of request and queue, both held for a few copies. A
// burst of requests during a render becomes one further render.
//
// Request needs sameAs(const Request&); Block is what the view takes. All members are called from the
// GUI thread but the protected virtual ones. Lock order: documentLock (read, held for a whole render),
// then one of the two mutexes, never both. A derived destructor calls clean().
template<class Request, class Block>
class TextureThread : public TextureThreadBase
{
public:
    using BlockPtr = std::unique_ptr<Block>;
    using TextureThreadBase::TextureThreadBase;

    // Finished blocks; with the queue locked. Only the newest, the last, is of interest.
    [[nodiscard]] std::vector<BlockPtr>& getTexQueue() { return m_texQueue; }
    // The newest block, if there is one that was not taken yet; older ones are dropped.
    [[nodiscard]] BlockPtr takeNewest()
    {
        const std::lock_guard guard(m_queueMutex);
        BlockPtr newest;
        if (!m_texQueue.empty())
            newest = std::move(m_texQueue.back());
        m_texQueue.clear();
        return newest;
    }

    // Whether a picture asked for is still to be rendered or to be taken from the queue.
    [[nodiscard]] bool isOutstanding()
    {
        {
            const std::lock_guard guard(m_requestMutex);
            if (m_rendered != m_requested)
                return true;
        }
        const std::lock_guard guard(m_queueMutex);
        return !m_texQueue.empty();
    }

    // Stops the thread and forgets everything; a request later starts it again. Waits for the columns
    // in work, not for the picture. Not while the caller holds documentLock for writing, since the
    // thread may be waiting for it.
    void clean()
    {
        stop();
        {
            const std::lock_guard guard(m_requestMutex);
            forget();
            m_request = {};
            m_forceContent = false;
            m_rendered = m_requested;
        }
        const std::lock_guard guard(m_queueMutex);
        m_texQueue.clear();
    }

protected:
    // Hands a request over. Nothing happens if that is what was asked for last, unless
    // `updateContent` tells that the layer's samples may have changed.
    void submit(Request request, bool updateContent)
    {
        const std::lock_guard guard(m_requestMutex);
        if (!updateContent && request.sameAs(m_request))
            return;
        m_request = std::move(request);
        m_forceContent |= updateContent;
        ++m_requested;
        wake();
    }

    // Texture thread, with documentLock held for reading. Null when m_cancel became true meanwhile; only
    // forget() may follow then. `refresh`: the samples of all columns are to be read again.
    [[nodiscard]] virtual BlockPtr render(const Request& request, bool refresh) = 0;
    // GUI thread, while the texture thread does not run: drop columns and memory.
    virtual void forget() = 0;

    bool renderAndQueue() final
    {
        Request request;
        bool refresh = false;
        int64_t number = 0;
        {
            const std::lock_guard guard(m_requestMutex);
            request = m_request;
            number = m_requested;
            refresh = std::exchange(m_forceContent, false);
        }
        BlockPtr block = render(request, refresh);
        if (!block)
            return false;
        {
            // Nobody looks at an older one any more, and a hidden view takes none.
            const std::lock_guard guard(m_queueMutex);
            m_texQueue.clear();
            m_texQueue.push_back(std::move(block));
        }
        {
            const std::lock_guard guard(m_requestMutex);
            m_rendered = number;
        }
        ++m_renderCount;
        Q_EMIT textureAvailable();
        return true;
    }

private:
    Request m_request;                // guarded by m_requestMutex
    bool m_forceContent = false;      // guarded by m_requestMutex
    int64_t m_requested = 0;          // guarded by m_requestMutex: number of the newest request,
    int64_t m_rendered = 0;           // and of the last one that was rendered
    std::vector<BlockPtr> m_texQueue; // guarded by m_queueMutex
};
