// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CParamClientQueue.h"

#include <utility>

namespace kor
{

CParamClientQueue::CParamClientQueue(std::shared_ptr<CEventLoop> loop, CLoopSignal::Handler handler, void* context)
    : signal(std::move(loop), handler, context)
{
}

void CParamClientQueue::append(CByteArray block, CSending kind)
{
    const std::size_t size = block.size() + sizeof(CByteArray);
    {
        CLockHolder hold(lock);
        if (isClosed || waiting.isIncomplete)
            return;
        const bool isUpdate = kind == CSending::update;
        if ((isUpdate && updateBytes > 0 && updateBytes + size > maxUpdateBytes) ||
            (bytes > 0 && bytes + size > maxBytes))
        {
            drop();
            waiting.isIncomplete = true;
        }
        else
        {
            waiting.blocks.push_back(std::move(block));
            bytes += size;
            updateBytes += isUpdate ? size : 0;
        }
    }
    signal.raise();                                 // a wake that fails is tried again with the next message
}

CParamClientQueue::CTaken CParamClientQueue::take()
{
    CLockHolder hold(lock);
    bytes = updateBytes = 0;
    return std::exchange(waiting, {});
}

void CParamClientQueue::close()
{
    signal.close();
    CLockHolder hold(lock);
    isClosed = true;
    drop();
}

std::size_t CParamClientQueue::waitingBytes() const
{
    CLockHolder hold(lock);
    return bytes;
}

void CParamClientQueue::drop() noexcept
{
    CArray<CByteArray>().swap(waiting.blocks);
    bytes = updateBytes = 0;
}

}
