// SPDX-License-Identifier: GPL-3.0-or-later
// The window's end, with a client that only notes what it is asked to send.
#include "Other/Interface/CVizExchange.h"

#include "Core/CoreCreators.h"
#include "Core/CWriteSeqBuffer.h"
#include "Core/CMemoryReader.h"
#include "Other/Interface/CAudioVizClient.h"
#include "Other/Interface/CAudioVizDataMeter.h"
#include "Other/Interface/CVizListener.h"
#include "Platform/CEventLoop.h"
#include "Support/CTestTree.h"

#include <cmath>
#include <functional>
#include <limits>

namespace kor::test
{
namespace
{

class CNotingClient : public CObject, public CAudioVizClient
{
public:
    CError listenViz(std::uint32_t& listening, const CStringBuf& name, std::int32_t source) override
    {
        listening = ++last;
        sent += "+" + std::to_string(last) + name.toUtf8() + std::to_string(source) + " ";
        return {};
    }
    CError unlistenViz(std::uint32_t listening) override
    {
        sent += "-" + std::to_string(listening) + " ";
        return {};
    }
    CError requestVizData() override
    {
        ++requests;
        return {};
    }
    CError requestExportSlotNames() override { return {}; }
    void setVizProcessor(CAudioInterfaceVizProcessor* next) override { processor = next; }

    std::uint32_t last = 0;
    int requests = 0;
    std::string sent;
    CAudioInterfaceVizProcessor* processor = nullptr;
};

class CNotingListener : public CVizListener
{
public:
    void onVizInactive() override { seen += "inactive "; }
    void onVizData(const CStringBuf& name, const CAudioVizData& data) override
    {
        seen += name.toUtf8() + CStringBuf::fromDouble(dynamic_cast<const CAudioVizDataMeter&>(data).value).toUtf8() + " ";
        if (onData)
            onData();
    }
    std::string take() { return std::exchange(seen, {}); }

    std::string seen;
    std::function<void()> onData;
};

struct CMeterOf
{
    double time = 0.0;
    double value = 0.0;
    int group = 0;
    int channel = 0;
    int source = -1;
};

class VizExchange : public testing::Test
{
protected:
    VizExchange()
    {
        for (const CCreatorRow& row : coreCreators())
            addTestType(row);
        addTestType(creatorRow<CNotingClient>("test:viz-client"));
        addTestType(creatorRow<CVizExchange>("ui:viz-exchange"));
        tree.emplace();
        EXPECT_TRUE(succeeded(tree->root().createChild(ui, "ui:ui-event-bridge", "ui", false)));
        EXPECT_TRUE(succeeded(ui->createChild(client, "test:viz-client", "interface-client", false)));
        exchange = make("0.6", "30.0");
    }

    CVizExchange* make(const char* timeout, const char* fps)
    {
        CAttrMap given;
        given["timer-tag"].setString("core:timer");
        given["inactive-timeout"].setString(timeout);
        given["viz-fps"].setString(fps);
        given["interface-client"].setString("^interface-client");
        CVizExchange* made = nullptr;
        EXPECT_TRUE(succeeded(ui->createChild(made, "ui:viz-exchange", "viz-exchange", false, nullptr, &given)));
        return made;
    }

    static CByteArray streamOf(double time, const char* name, const std::vector<CMeterOf>& meters)
    {
        CWriteSeqBuffer out;
        EXPECT_TRUE(succeeded(out.writeDouble(time)));
        if (!meters.empty())
        {
            EXPECT_TRUE(succeeded(out.writeInt(static_cast<std::int32_t>(meters.size()))));
            EXPECT_TRUE(succeeded(out.writeString(name)));
        }
        for (const CMeterOf& row : meters)
        {
            CAudioVizDataMeter meter;
            meter.time = row.time;
            meter.value = row.value;
            meter.group = row.group;
            meter.channel = row.channel;
            meter.source = row.source;
            EXPECT_TRUE(succeeded(CAudioVizData::writeAny(out, meter)));
        }
        EXPECT_TRUE(succeeded(out.writeInt(0)));
        return out.getContents();
    }

    CError give(const CByteArray& bytes)
    {
        CMemoryReader reader(bytes);
        return exchange->processVizData(reader);
    }
    void give(double time, const std::vector<CMeterOf>& meters, const char* name = "m")
    {
        EXPECT_TRUE(succeeded(give(streamOf(time, name, meters))));
    }
    void tick(int count)
    {
        for (int i = 0; i < count; ++i)
            EXPECT_TRUE(succeeded(exchange->onTick()));
    }

    std::optional<CTestTree> tree;
    CObject* ui = nullptr;
    CNotingClient* client = nullptr;
    CVizExchange* exchange = nullptr;
    CNotingListener first;
    CNotingListener second;
};

}

TEST_F(VizExchange, AsksAtItsRateAndTellsTheClientWhoListens)
{
    EXPECT_EQ(client->processor, exchange);
    const std::shared_ptr<CEventLoop> loop = CEventLoop::ofThisThread();
    for (int i = 0; i < 200 && client->requests == 0; ++i)
        loop->run(0.02);
    EXPECT_GT(client->requests, 0);
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
    EXPECT_TRUE(succeeded(exchange->addListener(second, "m", 3, -1, -1)));
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", 4, -1, -1)));       // instead of its own
    EXPECT_TRUE(succeeded(exchange->removeListener(second, "n")));
    EXPECT_TRUE(succeeded(exchange->removeListener(second, "m")));
    CObject::destroy(exchange);
    EXPECT_EQ(client->sent, "+1m-1 +2m3 -1 +3m4 -2 -3 ");
    EXPECT_EQ(client->processor, nullptr);
}

// 0.6 s at 30 frames: the count climbs to 18, the tick after that tells once, and the next data begin anew.
TEST_F(VizExchange, TellsOnceThatNothingComes)
{
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
    exchange->start();
    tick(40);
    EXPECT_EQ(first.take(), "");                    // inactive from the first
    give(1.0, {{1.0, 5.0}});
    tick(18);
    EXPECT_EQ(first.take(), "m5 ");
    tick(1);
    EXPECT_EQ(first.take(), "inactive ");
    tick(40);
    EXPECT_EQ(first.take(), "");
    give(1.0, {{1.0, 6.0}});
    exchange->stop();
    tick(40);
    EXPECT_EQ(first.take(), "m6 ");
    exchange->clear();
    EXPECT_EQ(first.take(), "inactive ");
    const struct
    {
        const char* timeout;
        const char* fps;
        int frames;
        double rate;
    } cases[] = {{"0", "30", 15, 30.0}, {"0.6", "0", 1, 1.0}, {"0.1", "25", 2, 25.0}, {"nonsense", "20", 10, 20.0}};
    for (const auto& row : cases)
    {
        CObject::destroy(exchange);
        exchange = make(row.timeout, row.fps);
        EXPECT_EQ(exchange->getVizFps(), row.rate);
        EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
        exchange->start();
        give(0.0, {{}});
        tick(row.frames);
        EXPECT_EQ(first.take(), "m0 ") << row.timeout;
        tick(1);
        EXPECT_EQ(first.take(), "inactive ") << row.timeout;
    }
}

// What shows a later moment waits for it, in the order of the moments and, of one moment, of arrival.
TEST_F(VizExchange, DeliversAtTheRightTime)
{
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    give(1.0, {{1.2, 1.0}, {1.0, 2.0}, {1.1, 3.0}, {1.2, 4.0}, {nan, 5.0}, {0.0, 6.0}});
    EXPECT_EQ(first.take(), "m2 m5 m6 ");
    give(1.15, {{1.16, 7.0}});
    EXPECT_EQ(first.take(), "m3 ");
    give(1.2, {{1.2, 8.0}});
    EXPECT_EQ(first.take(), "m7 m1 m4 m8 ");
    give(1.2, {{1.3, 9.0}});
    exchange->clear();
    first.take();
    give(2.0, {});
    EXPECT_EQ(first.take(), "");
    // Data that never become due take no memory without end.
    for (int i = 0; i < CVizExchange::maxQueued + 2; ++i)
        give(2.0, {{3.0 + i, static_cast<double>(i)}});
    give(5.0, {});
    EXPECT_EQ(first.take(), "m2 ");                 // the two earliest had to go
}

TEST_F(VizExchange, FiltersBySourceGroupAndChannel)
{
    const struct
    {
        int source, group, channel;
        CMeterOf data;
        bool isSeen;
    } cases[] = {
        {-1, -1, -1, {0, 0, 3, 2, -1}, true},  {-1, 3, 2, {0, 0, 3, 2, -1}, true},   {-1, 2, -1, {0, 0, 3, 2, -1}, false},
        {-1, -1, 1, {0, 0, 3, 2, -1}, false},  {-1, 3, 1, {0, 0, 3, -1, -1}, true},  {-1, -1, -1, {0, 0, 0, 0, 5}, false},
        {5, -1, -1, {0, 0, 0, 0, -1}, false},  {5, 3, -1, {0, 0, 1, 0, 5}, true},    {5, 3, 1, {0, 0, 1, 0, 5}, false},
    };
    for (const auto& row : cases)
    {
        EXPECT_TRUE(succeeded(exchange->addListener(first, "m", row.source, row.group, row.channel)));
        give(0.0, {row.data});
        give(0.0, {row.data}, "another");
        EXPECT_EQ(first.take(), row.isSeen ? "m0 " : "") << row.source << " " << row.group << " " << row.channel;
    }
}

TEST_F(VizExchange, KeepsWhatCameAheadOfAFault)
{
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
    const CByteArray good = streamOf(1.0, "m", {{1.0, 1.0}, {1.0, 2.0}});
    for (std::size_t size = 0; size < good.size(); ++size)
    {
        EXPECT_TRUE(static_cast<bool>(give(CByteArray(good.begin(), good.begin() + static_cast<long>(size))))) << size;
        const std::string seen = first.take();
        EXPECT_EQ(seen, size < 65 ? "" : size < 113 ? "m1 " : "m1 m2 ") << size;
    }
    CByteArray negative = good;
    negative[11] = 0x80;                            // the first record's count
    EXPECT_TRUE(static_cast<bool>(give(negative)));
    CByteArray timeless = good;
    timeless[6] = timeless[7] = 0xFF;
    EXPECT_TRUE(static_cast<bool>(give(timeless)));
}

// Controls come and go in answer to what they see.
TEST_F(VizExchange, ListenersMayChangeTheListWhileItIsTold)
{
    EXPECT_TRUE(succeeded(exchange->addListener(first, "m", -1, -1, -1)));
    EXPECT_TRUE(succeeded(exchange->addListener(second, "m", -1, -1, -1)));
    CNotingListener& told = &first < &second ? first : second;
    CNotingListener& other = &first < &second ? second : first;
    told.onData = [&]
    {
        EXPECT_TRUE(succeeded(exchange->removeListener(other, "m")));
        EXPECT_TRUE(succeeded(exchange->removeListener(told, "m")));
        EXPECT_TRUE(succeeded(exchange->addListener(other, "n", -1, -1, -1)));
        exchange->clear();
    };
    give(1.0, {{2.0, 1.0}, {1.0, 2.0}, {1.0, 3.0}});
    EXPECT_EQ(told.take(), "m2 ");
    EXPECT_EQ(other.take(), "inactive ");
}

TEST_F(VizExchange, KnowsTheNamesOfTheExportSlots)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(out.writeInt(2)));
    for (const int i : {3, 47})
    {
        EXPECT_TRUE(succeeded(out.writeInt(i)));
        EXPECT_TRUE(succeeded(out.writeString(CStringBuf::fromInt(i))));
    }
    const CByteArray bytes = out.getContents();
    CMemoryReader whole(bytes);
    EXPECT_TRUE(succeeded(exchange->processExportSlotNames(whole)));
    CMemoryReader cut(bytes.data(), bytes.size() - 1);
    EXPECT_TRUE(static_cast<bool>(exchange->processExportSlotNames(cut)));
    ASSERT_EQ(exchange->exportNames().size(), 2u);
    EXPECT_EQ(exchange->exportNames().at(47), CStringBuf("47"));
}

}
