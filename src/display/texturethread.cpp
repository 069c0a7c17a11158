#include "display/texturethread.h"

#include "base/denormals.h"
#include "base/platform.h"
#include "model/documentlock.h"

#include <QCoreApplication>
#include <QDebug>
#include <QElapsedTimer>
#include <QVariant>

int TextureThreadBase::maxTexSize()
{
    constexpr int fallback = 8192;
    const int size = QCoreApplication::instance()->property("maxtexsize").toInt();
    const bool powerOfTwo = size > 0 && (size & (size - 1)) == 0;
    return powerOfTwo && size > columnReserve ? size : fallback;
}

void TextureThreadBase::wake()
{
    if (m_wakeSemaphore.available() == 0)
        m_wakeSemaphore.release();
    m_cancel = false;
    start();
}

void TextureThreadBase::stop()
{
    requestInterruption();
    m_cancel = true;
    if (m_wakeSemaphore.available() == 0)
        m_wakeSemaphore.release();
    wait();
}

void TextureThreadBase::run()
{
    disableDenormals();
    // The event loop and the renderer come first: a picture may be late, a wheel that stutters is felt.
    platform::yieldToOtherThreads();
    for (;;) {
        m_wakeSemaphore.acquire();
        if (isInterruptionRequested())
            break;
        QElapsedTimer timer;
        timer.start();
        const ReadLocker document(documentLock());
        if (renderAndQueue())
            qDebug().noquote() << QStringLiteral("time to render %1 on channel %2 : %3ms")
                                      .arg(m_layer->name())
                                      .arg(m_channel)
                                      .arg(timer.elapsed());
    }
    // What this thread did to its columns is seen by whoever takes the mutex after it ended.
    const std::lock_guard guard(m_requestMutex);
}
