#include "media/MediaInterrupt.h"

extern "C" {
#include <libavformat/avformat.h>
}

bool MediaInterrupt::shouldStop() const
{
    if (m_cancelled && m_cancelled->load(std::memory_order_acquire))
        return true;
    if (m_deadline && Clock::now() >= *m_deadline)
        return true;
    return m_stopWhen && m_stopWhen();
}

int MediaInterrupt::callback(void* interrupt)
{
    return static_cast<const MediaInterrupt*>(interrupt)->shouldStop() ? 1 : 0;
}

AVIOInterruptCB MediaInterrupt::asCallback() const
{
    return AVIOInterruptCB{&MediaInterrupt::callback, const_cast<MediaInterrupt*>(this)};
}

void MediaInterrupt::installOn(AVFormatContext* context) const
{
    context->interrupt_callback = asCallback();
}
