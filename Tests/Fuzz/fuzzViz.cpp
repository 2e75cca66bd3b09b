// SPDX-License-Identifier: GPL-3.0-or-later
// What the window gets to show: data of slots, and the names of export slots behind them.
#include "Core/CApplication.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Fuzz/FuzzTargets.h"
#include "Other/Interface/CAudioVizClient.h"
#include "Other/Interface/CAudioVizDataInfo.h"
#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CAudioVizDataRGB.h"
#include "Other/Interface/CAudioVizDataSpectrum.h"
#include "Other/Interface/CVizExchange.h"
#include "Other/Interface/CVizListener.h"
#include "Support/CTestTree.h"

#include <array>

namespace kor::test
{
namespace
{

const std::array<const char*, 2> slotNames = {"m", "s"};

class CMuteClient : public CObject, public CAudioVizClient
{
public:
    CError listenViz(std::uint32_t&, const CStringBuf&, std::int32_t) override { return {}; }
    CError unlistenViz(std::uint32_t) override { return {}; }
    CError requestVizData() override { return {}; }
    CError requestExportSlotNames() override { return {}; }
    void setVizProcessor(CAudioInterfaceVizProcessor*) override {}
};

// Writes each object again: what was read must read back from that as the same.
class CRewriter : public CVizListener
{
public:
    void onVizInactive() override {}
    void onVizData(const CStringBuf&, const CAudioVizData& data) override
    {
        const CByteArray once = bytesOf(data);
        CMemoryReader reader(once);
        CAudioVizDataPtr back;
        require(!CAudioVizData::readAny(reader, back) && back && reader.remaining() == 0, "what was read can be read again");
        require(bytesOf(*back) == once, "and is the same");
        bytes += once.size();
    }

    std::size_t bytes = 0;

private:
    static CByteArray bytesOf(const CAudioVizData& data)
    {
        CWriteSeqBuffer out;
        require(!CAudioVizData::writeAny(out, data), "what was read can be written");
        return out.getContents();
    }
};

struct CWindow
{
    CVizExchange* exchange = nullptr;
    CRewriter listener;
};

CWindow& window()
{
    static CWindow& all = *[]
    {
        addTestType(creatorRow<CMuteClient>("test:mute-client"));
        auto* const made = new CWindow;
        CObject* root = nullptr;
        CObject* client = nullptr;
        CAttrMap given;
        given["timer-tag"].setString("core:timer");
        given["viz-fps"].setString("30");
        given["interface-client"].setString("^interface-client");
        require(!CApplication::initRootObject(root, "") &&
                    !root->createChild(client, "test:mute-client", "interface-client", false) &&
                    !root->createChild(made->exchange, "ui:viz-exchange", "viz-exchange", false, nullptr, &given),
                "there is a window's end");
        for (const char* name : slotNames)
            require(!made->exchange->addListener(made->listener, name, -1, -1, -1), "somebody listens");
        return made;
    }();
    return all;
}

}

int fuzzViz(const unsigned char* data, std::size_t size)
{
    startForFuzzing();
    CWindow& all = window();
    all.listener.bytes = 0;
    CMemoryReader reader(data, size);
    const bool isRead = !all.exchange->processVizData(reader);
    require(all.listener.bytes <= 2 * size + 65536 * 4, "what is delivered came in, now or in the last streams");
    all.exchange->clear();
    if (!isRead)
        return 0;
    const std::size_t nameCount = all.exchange->exportNames().size();
    if (all.exchange->processExportSlotNames(reader))
        require(all.exchange->exportNames().size() == nameCount, "a failure leaves the names alone");
    return 1;
}

std::vector<std::string> vizSeeds()
{
    CAudioVizDataMeter meter;
    meter.value = 0.5;
    meter.peak = 0.7;
    CAudioVizDataSpectrum spectrum;
    spectrum.values.assign(129, 0.25);
    CAudioVizDataInfo info;
    info.text = "text";
    CAudioVizDataRGB color;
    const CAudioVizData* const shown[][3] = {{&meter, &meter, &info}, {&spectrum, &meter, &color}};
    std::vector<std::string> seeds;
    for (int count = 0; count <= 3; ++count)
    {
        CWriteSeqBuffer out;
        bool isWritten = !out.writeDouble(1.0);
        for (std::size_t s = 0; count > 0 && s < slotNames.size(); ++s)
        {
            isWritten = isWritten && !out.writeInt(count) && !out.writeString(slotNames[s]);
            for (int i = 0; i < count; ++i)
                isWritten = isWritten && !CAudioVizData::writeAny(out, *shown[s][i]);
        }
        isWritten = isWritten && !out.writeInt(0) && !out.writeInt(count);
        for (int i = 0; i < count; ++i)
            isWritten = isWritten && !out.writeInt(i) && !out.writeString("1: name (group)|color=3");
        require(isWritten, "a seed is written");
        const CByteArray bytes = out.getContents();
        seeds.emplace_back(bytes.begin(), bytes.end());
    }
    return seeds;
}

}
