// SPDX-License-Identifier: GPL-3.0-or-later
#include "Support/CRealtimeGuard.h"
#include "Vst3Host/CHostApplication.h"
#include "Vst3Host/CHostAttributeList.h"
#include "Vst3Host/CHostStream.h"
#include "Vst3Host/CVst3Plugin.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <unistd.h>

namespace kor::test
{

namespace
{

using namespace Steinberg;

const std::string gainBundle = MORVA_FIXTURES "/Gain.vst3";

// Makes the fixture misbehave, for the length of a test.
class CForm
{
public:
    explicit CForm(const char* form) { ::setenv("FIXTURE_FORM", form, 1); }
    ~CForm() { ::unsetenv("FIXTURE_FORM"); }
    CForm(const CForm&) = delete;
    CForm& operator=(const CForm&) = delete;
};

std::string said(const CError& error)
{
    return error.message();
}

class Vst3Plugin : public ::testing::Test
{
protected:
    CError open()
    {
        KOR_TRY(module.open(gainBundle, static_cast<Vst::IHostApplication*>(&host)));
        const CVst3Class* effect = nullptr;
        KOR_TRY(module.findEffect(effect));
        return plugin.open(module, *effect);
    }

    void run(std::vector<double>& samples, int frames)
    {
        void* const channels[] = {samples.data(), samples.data() + frames};
        EXPECT_TRUE(plugin.process(channels, channels, frames));
    }

    CHostApplication host;
    CVst3Module module;
    CVst3Plugin plugin{host};
};

}

TEST(Vst3Module, SaysWhatIsWrongWithABundle)
{
    const std::string root = std::filesystem::temp_directory_path().string() + "/vst3host-" + std::to_string(::getpid());
    const std::string inside = "/Contents/" + CVst3Module::machineFolder();
    std::filesystem::create_directories(root + "/Hollow.vst3");
    std::filesystem::create_directories(root + "/Other.vst3/Contents/pdp11-linux");
    std::filesystem::create_directories(root + "/Text.vst3" + inside);
    std::ofstream(root + "/Text.vst3" + inside + "/Text.so") << "no library";
    const struct
    {
        std::string path;
        const char* form;
        std::string says;
    } cases[] = {
        {root + "/None.vst3", "", "None.vst3': No such file"},
        {root + "/Text.vst3" + inside + "/Text.so", "", "it is a file; give the folder that ends in .vst3"},
        {root + "/Hollow.vst3", "", "no folder Contents"},
        {root + "/Other.vst3", "", "nothing for this machine" ": Contents/" + CVst3Module::machineFolder() + "/Other.so"},
        {root + "/Text.vst3", "", "Text.so"},
        {MORVA_FIXTURES "/Blank.vst3", "", "its library has no GetPluginFactory"},
        {gainBundle, "asleep", "does not start"},
        {gainBundle, "empty", "holds no audio effect"},
    };
    for (const auto& t : cases)
    {
        const CForm form(t.form);
        CVst3Module module;
        const CVst3Class* effect = nullptr;
        CError failure = module.open(t.path);
        if (!failure)
            failure = module.findEffect(effect);
        EXPECT_NE(said(failure).find(t.says), std::string::npos) << said(failure);
        EXPECT_NE(said(failure).find(".vst3"), std::string::npos) << said(failure);
        EXPECT_EQ(said(failure).find('\n'), std::string::npos) << said(failure);
    }
    std::filesystem::remove_all(root);
}

TEST_F(Vst3Plugin, ShowsWhatTheFactoryAndTheHalvesSay)
{
    ASSERT_EQ(said(open()), "");
    EXPECT_EQ(plugin.name(), "Fixture Gain");
    EXPECT_EQ(module.classes().size(), 2u);
    EXPECT_FALSE(plugin.isSingleObject());
    ASSERT_EQ(plugin.buses().size(), 3u);
    EXPECT_EQ(plugin.buses()[1].name, "Side");
    EXPECT_FALSE(plugin.buses()[1].isMain);
    ASSERT_EQ(plugin.parameters().size(), 2u);
    const CVst3Parameter& gain = *plugin.findParameter("gain");
    EXPECT_EQ(gain.title, "Gain");
    EXPECT_EQ(gain.units, "x");
    EXPECT_EQ(plugin.textOfValue(gain, 0.75), "1.5");
    double value = 0.0;
    EXPECT_EQ(said(plugin.valueOfText(gain, "0.5", value)), "");
    EXPECT_EQ(value, 0.25);
    EXPECT_EQ(said(plugin.valueOfText(gain, "loud", value)), "'loud' is no value for 'Gain' of 'Fixture Gain'");
    EXPECT_EQ(value, 0.25);
    EXPECT_EQ(plugin.findParameter("Gian"), nullptr);
    EXPECT_TRUE(plugin.programs().empty());

    // Activation sends a message from one half to the other.
    ASSERT_EQ(said(plugin.activate({96000.0, 64, true, false})), "");
    EXPECT_NEAR(plugin.value(*plugin.findParameter("Rate")), 0.096, 1e-12);
}

TEST_F(Vst3Plugin, ProcessesBothFormatsWithChangesAtTheirSamples)
{
    ASSERT_EQ(said(open()), "");
    ASSERT_EQ(said(plugin.setLayout(2, 2)), "");
    for (const bool isDouble : {true, false})
    {
        ASSERT_EQ(said(plugin.activate({48000.0, 512, isDouble, false})), "");
        ASSERT_EQ(plugin.latency(), 3);
        const auto id = plugin.findParameter("Gain")->id;
        std::vector<double> doubles(200, 1.0);
        std::vector<float> floats(200, 1.0f);
        void* const channels[] = {isDouble ? static_cast<void*>(doubles.data()) : floats.data(),
                                  isDouble ? static_cast<void*>(doubles.data() + 100) : floats.data() + 100};
        plugin.changes().add(id, 0, 0.5);
        ASSERT_TRUE(plugin.changes().add(id, 90, 0.0));
        ASSERT_TRUE(plugin.changes().add(id, 50, 1.0));             // points need not come by time
        ASSERT_TRUE(plugin.changes().add(id, 90, 0.25));            // the later of two replaces
        {
            const CRealtimeGuard guard;
            EXPECT_TRUE(plugin.process(channels, channels, 100));
            EXPECT_EQ(guard.faults(), 0u);
        }
        EXPECT_TRUE(plugin.changes().isEmpty());
        for (std::size_t i = 0; i < 200; ++i)
        {
            const std::size_t n = i % 100;
            const double expected = n < 3 ? 0.0 : n < 53 ? 1.0 : n < 93 ? 2.0 : 0.5;
            ASSERT_EQ(isDouble ? doubles[i] : static_cast<double>(floats[i]), expected) << i;
        }
    }
}

TEST_F(Vst3Plugin, FlushAndSetValueReachTheProcessorAndStatesBothHalves)
{
    ASSERT_EQ(said(open()), "");
    ASSERT_EQ(said(plugin.activate({48000.0, 16, true, false})), "");
    const CVst3Parameter& gain = *plugin.findParameter("Gain");
    plugin.setValue(gain, 1.0);
    EXPECT_EQ(plugin.value(gain), 1.0);
    EXPECT_TRUE(plugin.flush());
    std::vector<double> samples(16, 1.0);
    run(samples, 8);
    EXPECT_EQ(samples[3], 2.0);
    std::vector<char> state;
    ASSERT_EQ(said(plugin.getState(state)), "");
    EXPECT_EQ(state.size(), sizeof(double));

    CVst3Plugin other(host);
    ASSERT_EQ(said(other.open(module, module.classes()[1])), "");
    EXPECT_EQ(other.value(*other.findParameter("Gain")), 0.5);
    ASSERT_EQ(said(other.setState(state)), "");
    EXPECT_EQ(other.value(*other.findParameter("Gain")), 1.0);
    EXPECT_EQ(said(other.setState(std::span(state).first(5))), "'Fixture Gain' refuses the state");
}

TEST_F(Vst3Plugin, RefusalsAreOneLine)
{
    ASSERT_EQ(said(open()), "");
    EXPECT_EQ(said(plugin.setLayout(5, 5)), "");
    EXPECT_EQ(said(plugin.setLayout(3, 5)), "'Fixture Gain' takes no layout of 3 channels in and 5 out");
    EXPECT_EQ(said(plugin.setLayout(64, 64)), "'Fixture Gain' takes no layout of 64 channels in and 64 out");
    plugin.close();
    const CForm form("stubborn");
    ASSERT_EQ(said(open()), "");
    EXPECT_EQ(said(plugin.setLayout(1, 1)), "") << "it has that layout and says no all the same";
    EXPECT_EQ(said(plugin.setLayout(2, 2)), "'Fixture Gain' takes no layout of 2 channels in and 2 out");
    const CForm single("single");
    EXPECT_EQ(said(plugin.activate({48000.0, 16, true, false})), "'Fixture Gain' takes no samples in double precision");
    EXPECT_FALSE(plugin.isActive());
    EXPECT_EQ(said(plugin.activate({48000.0, 16, false, false})), "");
}

TEST_F(Vst3Plugin, LeavesNothingOfTheHostsBehind)
{
    for (int i = 0; i < 50; ++i)
    {
        ASSERT_EQ(said(open()), "");
        plugin.close();
        EXPECT_EQ(host.foreignReferences(), 0);
        EXPECT_EQ(plugin.handler().foreignReferences(), 0);
        module.close();
    }
}

TEST(HostChanges, AreBoundedAndAllocateNothing)
{
    CParameterChanges changes;
    changes.reserve(2);
    const CRealtimeGuard guard;
    for (int round = 0; round < 3; ++round)
    {
        changes.clear();
        for (int i = 0; i < CParameterChanges::pointsPerQueue; ++i)
            ASSERT_TRUE(changes.add(7, i, 0.1));
        EXPECT_FALSE(changes.add(7, 1000, 0.1));
        EXPECT_TRUE(changes.add(8, 0, 0.1));
        EXPECT_FALSE(changes.add(9, 0, 0.1));
        EXPECT_EQ(changes.pointCount(7), CParameterChanges::pointsPerQueue);
        EXPECT_EQ(changes.getParameterCount(), 2);
    }
    EXPECT_EQ(guard.faults(), 0u);
    EXPECT_EQ(changes.getParameterData(2), nullptr);
    EXPECT_EQ(changes.getParameterData(-1), nullptr);
}

TEST(HostStream, ReadsShortAtItsEndAndSeeksWithinIt)
{
    char bytes[] = "abcdef";
    CHostStream stream;
    ASSERT_EQ(stream.write(bytes, 6, nullptr), kResultOk);
    int64 place = 0;
    EXPECT_EQ(stream.seek(-2, IBStream::kIBSeekEnd, &place), kResultOk);
    EXPECT_EQ(place, 4);
    char read[8] = {};
    int32 count = 0;
    EXPECT_EQ(stream.read(read, 8, &count), kResultOk);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(read, "ef");
    EXPECT_EQ(stream.read(read, 8, &count), kResultOk);
    EXPECT_EQ(count, 0);
    for (const auto& [offset, mode] : {std::pair<int64, int32>{-1, IBStream::kIBSeekSet}, {1, IBStream::kIBSeekCur},
                                       {1, IBStream::kIBSeekEnd}, {INT64_MAX, IBStream::kIBSeekCur},
                                       {INT64_MIN, IBStream::kIBSeekEnd}, {0, 3}})
        EXPECT_NE(stream.seek(offset, mode, &place), kResultOk) << offset;
    EXPECT_EQ(stream.tell(&place), kResultOk);
    EXPECT_EQ(place, 6);
    EXPECT_NE(stream.read(read, -1, &count), kResultOk);
}

TEST(HostAttributes, KeepEachKindAndCutTexts)
{
    const IPtr<CHostAttributeList> list(new CHostAttributeList, false);
    list->setInt("n", 5);
    int64 number = 0;
    double real = 0.0;
    EXPECT_EQ(list->getInt("n", number), kResultOk);
    EXPECT_EQ(number, 5);
    EXPECT_NE(list->getFloat("n", real), kResultOk);
    EXPECT_NE(list->getInt("m", number), kResultOk);
    EXPECT_NE(list->setInt(nullptr, 1), kResultOk);
    list->setString("t", u"longer than that");
    Vst::TChar text[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(list->getString("t", text, sizeof text), kResultOk);
    EXPECT_EQ(std::u16string(text), u"long");
    list->setBinary("n", "ab", 2);
    const void* data = nullptr;
    uint32 size = 0;
    EXPECT_EQ(list->getBinary("n", data, size), kResultOk);
    EXPECT_EQ(size, 2u);
}

namespace
{

class CTimer : public CHostObject<Linux::ITimerHandler>
{
public:
    void PLUGIN_API onTimer() override { call(); }
    std::function<void()> call;
};

class CReader : public CHostObject<Linux::IEventHandler>
{
public:
    void PLUGIN_API onFDIsSet(Linux::FileDescriptor fd) override { call(fd); }
    std::function<void(int)> call;
};

}

TEST(HostRunLoop, CallsTimersAndDescriptorsUntilTheyLeave)
{
    CHostApplication host;
    void* found = nullptr;
    ASSERT_EQ(host.queryInterface(Linux::IRunLoop::iid, &found), kResultOk);
    IPtr<Linux::IRunLoop> loop(static_cast<Linux::IRunLoop*>(found), false);
    host.runLoop().run(10000);                          // nobody is there: at once

    int ends[2] = {};
    ASSERT_EQ(::pipe(ends), 0);
    int ticks = 0;
    std::string heard;
    CTimer timer;
    CReader reader;
    timer.call = [&]
    {
        if (++ticks == 3)                               // leaves from within its own call
        {
            EXPECT_EQ(loop->unregisterTimer(&timer), kResultOk);
        }
        EXPECT_EQ(::write(ends[1], "x", 1), 1);
    };
    reader.call = [&](int fd)
    {
        char c = 0;
        EXPECT_EQ(::read(fd, &c, 1), 1);
        heard += c;
    };
    EXPECT_EQ(loop->registerTimer(&timer, 2), kResultOk);
    EXPECT_NE(loop->registerTimer(&timer, 0), kResultOk);
    EXPECT_EQ(loop->registerEventHandler(&reader, ends[0]), kResultOk);
    for (int i = 0; i < 1000 && heard.size() < 3; ++i)
        host.runLoop().run(5);
    EXPECT_EQ(ticks, 3);
    EXPECT_EQ(heard, "xxx");
    EXPECT_EQ(loop->unregisterEventHandler(&reader), kResultOk);
    EXPECT_NE(loop->unregisterEventHandler(&reader), kResultOk);
    EXPECT_TRUE(host.runLoop().isEmpty());
    EXPECT_EQ(timer.foreignReferences() + reader.foreignReferences(), 0);
    ::close(ends[0]);
    ::close(ends[1]);
}

}
