// SPDX-License-Identifier: GPL-3.0-or-later
#include "Other/Interface/CAudioVizData.h"

#include "Core/CWriteSeqBuffer.h"
#include "Other/Interface/CAudioVizDataInfo.h"
#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CAudioVizDataRGB.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"
#include "Other/Interface/CAudioVizPool.h"

#include <algorithm>

namespace kor
{

namespace
{

// The body of one object: ends where its size says, whatever the body itself says.
class CBodyReader : public CInputStream
{
public:
    CBodyReader(CInputStream& stream, std::int64_t size) : source(stream), left(size) {}

    std::int64_t remaining() const noexcept { return left; }

    CError read(void* buffer, std::int64_t count) override
    {
        if (count <= 0)
            return {};
        if (count > left)
            return KOR_FAIL("Premature end of visualisation data (count %1, left %2).", count, left);
        KOR_TRY(source.read(buffer, count));
        left -= count;
        return {};
    }

    CError readRef(void* buffer, std::int64_t& count) override
    {
        count = std::clamp<std::int64_t>(count, 0, left);
        KOR_TRY(source.readRef(buffer, count));
        left -= count;
        return {};
    }

private:
    CInputStream& source;
    std::int64_t left;
};

CAudioVizDataPtr makeOfKind(std::int32_t kind)
{
    switch (static_cast<CAudioVizKind>(kind))
    {
    case CAudioVizKind::meter:
        return CAudioVizDataPtr(new CAudioVizDataMeter);
    case CAudioVizKind::info:
        return CAudioVizDataPtr(new CAudioVizDataInfo);
    case CAudioVizKind::plain:
        return CAudioVizDataPtr(new CAudioVizData);
    case CAudioVizKind::spectrum:
        return CAudioVizDataPtr(new CAudioVizDataSpectrum);
    case CAudioVizKind::rgb:
        return CAudioVizDataPtr(new CAudioVizDataRGB);
    }
    return {};
}

template <class T>
CAudioVizDataPtr cloneAs(const CAudioVizData& data)
{
    return CAudioVizDataPtr(new T(static_cast<const T&>(data)));
}

}

CAudioVizData::CAudioVizData(const CAudioVizData& other) noexcept : kind(other.kind)
{
    *this = other;
}

// What ties an object to a pool, a queue and its references is its own.
CAudioVizData& CAudioVizData::operator=(const CAudioVizData& other) noexcept
{
    if (this == &other)
        return *this;
    channel = other.channel;
    group = other.group;
    element = other.element;
    time = other.time;
    source = other.source;
    return *this;
}

CError CAudioVizData::write(COutputStream& stream) const
{
    KOR_TRY(stream.writeInt(channel));
    KOR_TRY(stream.writeInt(group));
    KOR_TRY(stream.writeInt(element));
    KOR_TRY(stream.writeDouble(time));
    return stream.writeInt(source);
}

CError CAudioVizData::read(CInputStream& stream)
{
    KOR_TRY(stream.readInt(channel));
    KOR_TRY(stream.readInt(group));
    KOR_TRY(stream.readInt(element));
    KOR_TRY(stream.readDouble(time));
    return stream.readInt(source);
}

CAudioVizDataPtr CAudioVizData::clone(const CAudioVizData& data)
{
    switch (data.kind)
    {
    case CAudioVizKind::meter:
        return cloneAs<CAudioVizDataMeter>(data);
    case CAudioVizKind::info:
        return cloneAs<CAudioVizDataInfo>(data);
    case CAudioVizKind::plain:
        break;
    case CAudioVizKind::spectrum:
        return cloneAs<CAudioVizDataSpectrum>(data);
    case CAudioVizKind::rgb:
        return cloneAs<CAudioVizDataRGB>(data);
    }
    return cloneAs<CAudioVizData>(data);
}

CError CAudioVizData::writeAny(COutputStream& stream, const CAudioVizData& data)
{
    CWriteSeqBuffer buffer;
    KOR_TRY(data.write(buffer));
    const CByteArray body = buffer.getContents();
    KOR_TRY(stream.writeInt(static_cast<std::int32_t>(data.kind)));
    KOR_TRY(stream.writeInt(static_cast<std::int32_t>(body.size())));
    return stream.write(body.data(), static_cast<std::int64_t>(body.size()));
}

CError CAudioVizData::readAny(CInputStream& stream, CAudioVizDataPtr& data)
{
    std::int32_t kind = 0;
    std::int32_t size = 0;
    KOR_TRY(stream.readInt(kind));
    KOR_TRY(stream.readInt(size));
    CAudioVizDataPtr made = makeOfKind(kind);
    if (size < (made ? baseBytes : 0))
        return KOR_FAIL("Invalid size %1 of visualisation data.", size);
    CBodyReader body(stream, size);
    if (made)
        KOR_TRY(made->read(body));
    KOR_TRY(stream.skip(body.remaining()));
    data = std::move(made);
    return {};
}

void CAudioVizData::drop() noexcept
{
    if (pool != nullptr)
        pool->takeBack(*this);
    else
        delete this;
}

}
