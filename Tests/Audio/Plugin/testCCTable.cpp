// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Plugin/CAudioCCTable.h"
#include "Core/CApplicationData.h"
#include "Core/CLog.h"
#include "Core/CWriteSeqBuffer.h"
#include "EqualizerTestKit.h"
#include "Support/CTestTree.h"

namespace kor::test
{
namespace
{

struct CEntry
{
    std::uint32_t controller;
    const char* path;
};

struct TableCase
{
    const char* what;
    std::uint32_t count;                            // as the data says
    std::vector<CEntry> entries;
    std::size_t cut;                                // bytes that are missing at the end
    std::vector<std::pair<int, const char*>> wanted;
    bool isReported = false;
};

class CLines : public CLogListener
{
public:
    CLines() { CLog::setListener(this); }
    ~CLines() { CLog::setListener(nullptr); }
    void onLogLine(const CStringBuf& line) override { text += line.toUtf8(); }
    std::string text;
};

const char* const gain = "plugin.modMain.modOutGain.gain";
const char* const freq = "plugin.modMain.modMorvaEQ.eq-params.freq";

const TableCase tableCases[] = {
    {"nothing", 0, {}, 4, {}},
    {"no entries", 0, {}, 0, {}},
    {"two entries", 2, {{7, gain}, {127, freq}}, 0, {{7, gain}, {127, freq}}},
    {"the later of one number", 2, {{7, gain}, {7, freq}}, 0, {{7, freq}}},
    {"an unknown name and an object that is no parameter", 3, {{1, "plugin.no"}, {2, "plugin.audio-env"}, {3, gain}}, 0,
     {{3, gain}}},
    {"a controller beyond the last", 3, {{7, gain}, {128, freq}, {9, freq}}, 0, {{7, gain}}, true},
    {"an end within an entry", 2, {{7, gain}, {9, freq}}, 3, {{7, gain}}, true},
    {"a count beyond the data", 4000000000u, {{7, gain}}, 0, {{7, gain}}, true},
};

}

TEST(CCTable, ReadsWhatTheUserHas)
{
    CTestEqualizer equalizer;
    auto& table = dynamic_cast<CAudioCCTable&>(*equalizer.instance.tree().findObject("plugin.cctable"));
    for (const TableCase& c : tableCases)
    {
        SCOPED_TRACE(c.what);
        CWriteSeqBuffer out;
        EXPECT_TRUE(succeeded(out.writeU32(c.count)));
        for (const CEntry& entry : c.entries)
        {
            EXPECT_TRUE(succeeded(out.writeU32(entry.controller)));
            EXPECT_TRUE(succeeded(out.writeString(entry.path)));
        }
        const CByteArray bytes = out.getContents();
        CLocalData::instance().write("ccmap", bytes.data(), bytes.size() - c.cut, CAudioCCTable::dataId);
        CLines lines;
        table.load();
        EXPECT_EQ(lines.text.find("plugin.cctable") != std::string::npos, c.isReported) << lines.text;
        std::vector<std::pair<int, const char*>> found;
        for (int i = -1; i <= 128; ++i)
            for (const char* path : {gain, freq})
                if (table.param(i) != nullptr && table.param(i)->fullName().equals(path))
                    found.emplace_back(i, path);
        EXPECT_EQ(found, c.wanted);
    }

    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(out.writeU32(1)));
    EXPECT_TRUE(succeeded(out.writeU32(20)));
    EXPECT_TRUE(succeeded(out.writeString(gain)));
    const CByteArray bytes = out.getContents();
    CLocalData::instance().write("ccmap", bytes.data(), bytes.size(), CAudioCCTable::dataId);
    CTestEqualizer late;
    auto& itsTable = dynamic_cast<CAudioCCTable&>(*late.instance.tree().findObject("plugin.cctable"));
    EXPECT_EQ(itsTable.param(20), late.instance.findParam("modOutGain.gain"));
    CLocalData::instance().write("ccmap", nullptr, 0, CAudioCCTable::dataId);
}

}
