// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioParamInfo.h"
#include "Audio/Parameters/CAudioParamStorage.h"
#include "StreamsInMemory.h"
#include "Support/CRealtimeGuard.h"
#include "Support/CTestTree.h"

#include <rapidcheck/gtest.h>

#include <numeric>
#include <sys/resource.h>

namespace kor::test
{
namespace
{

CAudioParamInfo realInfo(CArray<CArray<double>> lists = {{1.0}})
{
    CAudioParamInfo info;
    info.minValues = {0.0};
    info.maxValues = {10.0};
    info.defaultValues = std::move(lists);
    return info;
}

CAudioParamInfo textInfo()
{
    CAudioParamInfo info = realInfo({{0.0, 0.0}});
    info.type = CAudioParamType::string;
    info.defaultTexts = {{"L", "R"}};
    return info;
}

CAudioParamStorage storageOf(const CAudioParamInfo& info, int groups)
{
    CAudioParamStorage storage;
    storage.clear(info);
    storage.setGroupCount(groups);
    return storage;
}

void put(CAudioParamStorage& storage, int group, int first, CArray<double> values, bool cut = false)
{
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = first;
    request.elementCount = static_cast<int>(values.size());
    request.values = values.data();
    request.cut = cut;
    storage.applyChange(request);
}

void putText(CAudioParamStorage& storage, int group, int first, const CArray<CStringBuf>& texts, bool cut = false)
{
    CAudioParamData table;
    CArray<double> ids;
    for (const CStringBuf& text : texts)
        ids.push_back(table.add(new CAudioParamDataItemString(text)));
    CAudioParamRequest request;
    request.group = group;
    request.firstElement = first;
    request.elementCount = static_cast<int>(ids.size());
    request.type = CAudioParamType::string;
    request.values = ids.data();
    request.items = &table;
    request.cut = cut;
    storage.applyChange(request);
}

std::string contents(const CAudioParamStorage& storage)
{
    std::string out;
    for (int g = 0; g < storage.groupCount(); ++g)
    {
        out += g > 0 ? ";" : "";
        for (int e = 0; e < storage.elementCount(g); ++e)
            out += (e > 0 ? "," : "") + (storage.type() == CAudioParamType::string
                                             ? storage.getText(g, e).toUtf8()
                                             : CStringBuf::fromDouble(storage.getValue(g, e)).toUtf8());
    }
    return out;
}

void addU32(CByteArray& bytes, std::initializer_list<std::uint32_t> values)
{
    for (const std::uint32_t value : values)
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<unsigned char>(value >> shift));
}

void addDouble(CByteArray& bytes, double value)
{
    const auto bits = std::bit_cast<std::uint64_t>(value);
    addU32(bytes, {static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(bits >> 32)});
}

}

TEST(ParamStorage, WhatNoGroupHoldsReadsFromTheDefaults)
{
    CAudioParamStorage bands = storageOf(realInfo({{3, 4, 5}, {6, 7}}), 3);
    put(bands, 0, 0, {1, 2});
    struct Case
    {
        int group, element;
        double value;
    };
    const Case cases[] = {{0, 0, 1}, {0, 1, 2}, {0, 2, 5}, {0, 7, 3}, {1, 1, 7}, {1, 2, 6}, {2, 1, 4},
                          {2, 9, 3}, {50, 1, 4}, {-1, 0, 3}, {0, -1, 1}};
    for (const Case& c : cases)
        EXPECT_EQ(bands.getValue(c.group, c.element), c.value) << c.group << ", " << c.element;
    EXPECT_EQ(bands.getValue(0, 0, 1), 0.0);
    EXPECT_EQ(CAudioParamStorage().getValue(0, 0), 0.0);

    CAudioParamInfo single = realInfo();
    single.isSingleGroup = single.isSingleElement = true;
    CAudioParamStorage one = storageOf(single, 8);
    put(one, 3, 5, {9, 8});
    EXPECT_EQ(contents(one), "9");
    EXPECT_EQ(one.getValue(6, 4), 9.0);
}

TEST(ParamStorage, ChangesGrowFillAndCut)
{
    CAudioParamStorage bands = storageOf(realInfo({{7, 8}}), 2);
    put(bands, 0, 3, {1});                          // a hole is filled with defaults
    EXPECT_EQ(contents(bands), "7,8,7,1;");
    put(bands, allGroups, 1, {2, 3}, true);
    EXPECT_EQ(contents(bands), "7,2,3;7,2,3");
    put(bands, 1, 0, {}, true);
    EXPECT_EQ(contents(bands), "7,2,3;");
    put(bands, 2, 0, {5});                          // no such group
    put(bands, 0, -1, {5});
    put(bands, 0, CAudioParamStorage::maxElements, {5});
    EXPECT_EQ(contents(bands), "7,2,3;");
    put(bands, 1, CAudioParamStorage::maxElements - 1, {5, 6});
    EXPECT_EQ(bands.elementCount(1), CAudioParamStorage::maxElements);
    bands.setGroupCount(1);
    bands.setGroupCount(14);
    EXPECT_EQ(bands.elementCount(1), 0);
    put(bands, 13, 0, {4});
    EXPECT_EQ(bands.getValue(13, 0), 4.0);
    CAudioParamRequest other;
    const double pair[2] = {1, 2};
    other.elementSize = 2;
    other.values = pair;
    bands.applyChange(other);                       // of another layout
    EXPECT_EQ(bands.getValue(0, 0), 7.0);
}

TEST(ParamStorage, ItemsAreCountedSharedAndLetGo)
{
    CAudioParamStorage names = storageOf(textInfo(), 2);
    names.fillWithDefaults();
    EXPECT_EQ(contents(names), "L,R;L,R");
    EXPECT_EQ(names.data().itemCount(), 2);
    putText(names, 0, 3, {"x"});
    EXPECT_EQ(contents(names), "L,R,L,x;L,R");
    EXPECT_EQ(names.data().itemCount(), 3);
    for (int i = 0; i < 1000; ++i)                  // ids are used again
        putText(names, 1, 0, {"again", "and again"});
    EXPECT_EQ(names.data().itemCount(), 5);
    names.data().forEach([](int id, const CAudioParamDataItem&) { EXPECT_LT(id, 10); });

    const CAudioParamStorage copy = names;
    putText(names, allGroups, 0, {}, true);
    EXPECT_EQ(names.data().itemCount(), 2);
    EXPECT_EQ(names.getText(0, 7), "L");
    EXPECT_EQ(contents(copy), "L,R,L,x;again,and again");

    const std::string longText(70000, 'a');
    putText(names, 0, 0, {CStringBuf(longText)});
    EXPECT_EQ(names.getText(0, 0).length(), 61440);

    CAudioParamRequest unknown;                     // an id that its table does not know reads as empty
    const double id = 77;
    const CAudioParamData table;
    unknown.type = CAudioParamType::string;
    unknown.values = &id;
    unknown.items = &table;
    names.applyChange(unknown);
    EXPECT_EQ(names.getText(0, 0), "");
}

TEST(ParamStorage, RawItemsKeepTheirBytes)
{
    CAudioParamInfo info = realInfo({{0.0}});
    info.type = CAudioParamType::raw;
    for (const std::size_t size : {0, 1, 48, 49, 70000})
    {
        std::vector<unsigned char> bytes(size);
        std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(3));
        CAudioParamData table;
        const double id = table.add(CAudioParamDataItemRaw(bytes).clone());
        CAudioParamRequest request;
        request.type = CAudioParamType::raw;
        request.values = &id;
        request.items = &table;
        CAudioParamStorage storage = storageOf(info, 1);
        storage.applyChange(request);
        CMemoryOut out;
        ASSERT_TRUE(succeeded(storage.save(out, -1)));
        CMemoryIn in(out.bytes);
        CAudioParamStorage loaded = storageOf(info, 1);
        ASSERT_TRUE(succeeded(loaded.load(in)));
        const auto got = loaded.getRaw(0, 0);
        EXPECT_TRUE(std::equal(got.begin(), got.end(), bytes.begin(), bytes.end())) << size;
    }
}

TEST(ParamStorage, StoredFormIsAsWrittenDown)
{
    CAudioParamStorage bands = storageOf(realInfo(), 2);
    put(bands, 0, 0, {2.5, 1});
    CByteArray wanted;
    addU32(wanted, {1, 1, 0, 2, 2});
    addDouble(wanted, 2.5);
    addDouble(wanted, 1.0);
    addU32(wanted, {0});
    CMemoryOut out;
    ASSERT_TRUE(succeeded(bands.save(out, -1)));
    EXPECT_EQ(out.bytes, wanted);

    CAudioParamStorage names = storageOf(textInfo(), 2);
    putText(names, 0, 0, {"only in group 0"});
    putText(names, 1, 0, {"b"});
    wanted.clear();
    addU32(wanted, {1, 1, 1, 1, 1, 1, 1, 1});       // one group, one item: id 1, text, one byte
    wanted.push_back('b');
    addU32(wanted, {1, 1});
    CMemoryOut one;
    ASSERT_TRUE(succeeded(names.save(one, 1)));
    EXPECT_EQ(one.bytes, wanted);
}

TEST(ParamStorage, HostileBlocksFailAndChangeNothing)
{
    struct Case
    {
        std::initializer_list<std::uint32_t> words;
        const char* failure;
    };
    const Case cases[] = {
        {{2, 1, 1, 0}, "Unsupported data set version 2."},
        {{1, 2, 1, 0}, "Unsupported storage format (esize=2, dtype=1; should be: esize=1, dtype=1)."},
        {{1, 1, 0, 0}, "Unsupported storage format (esize=1, dtype=0; should be: esize=1, dtype=1)."},
        {{1, 1, 1, 1, 1, 1, 3}, "Unknown data type 3 encountered"},
        {{1, 1, 1, 1, 0xFFFFFFFF, 1, 2, 0xFFFFFFFF}, "end"},
        {{1, 1, 1, 0xFFFFFFFF, 0, 0, 0}, "end"},
        {{1, 1, 1, 1, 0, 65537}, "Too many elements 65537 in a group (at most 65536)."},
        {{1, 1, 1, 1, 0, 65536, 0}, "end"},
        {{1, 1, 1, 1}, "end"},
    };
    CAudioParamStorage names = storageOf(textInfo(), 2);
    putText(names, 0, 0, {"kept"});
    rusage before = {};
    getrusage(RUSAGE_SELF, &before);
    for (const Case& c : cases)
    {
        CByteArray bytes;
        addU32(bytes, c.words);
        CMemoryIn in(bytes);
        EXPECT_EQ(names.load(in).message(), c.failure);
        EXPECT_EQ(contents(names), "kept;");
        EXPECT_EQ(names.data().itemCount(), 3);
    }
    rusage after = {};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "a count was believed before its bytes were there";
}

TEST(ParamStorage, LoadsWhatItCanPlaceAndDropsTheRest)
{
    CByteArray bytes;
    addU32(bytes, {1, 1, 1, 3, 3, 9, 1, 1});        // three groups, three items: 9 twice, 4 never used
    bytes.push_back('x');
    addU32(bytes, {9, 1, 1});
    bytes.push_back('y');
    addU32(bytes, {4, 1, 1});
    bytes.push_back('z');
    addU32(bytes, {2, 9, 77, 0, 1, 9});
    CMemoryIn in(bytes);
    CAudioParamStorage names = storageOf(textInfo(), 2);
    putText(names, 1, 0, {"old"});
    ASSERT_TRUE(succeeded(names.load(in)));
    EXPECT_EQ(in.left(), 0u);
    EXPECT_EQ(contents(names), "y,;");              // the last 9; 77 is no item; the third group has no place
    EXPECT_EQ(names.data().itemCount(), 3);

    CAudioParamStorage bands = storageOf(realInfo(), 3);
    bytes.clear();
    addU32(bytes, {1, 1, 0, 1, 3});
    addDouble(bytes, std::numeric_limits<double>::quiet_NaN());
    addDouble(bytes, 99);
    addDouble(bytes, -1);
    CMemoryIn floats(bytes);
    bands.fillWithDefaults();
    ASSERT_TRUE(succeeded(bands.load(floats)));
    bands.clampTo(realInfo());
    EXPECT_EQ(contents(bands), "0,10,0;;");
}

RC_GTEST_PROP(ParamStorage, LoadAfterSaveGivesTheSame, ())
{
    const bool isText = *rc::gen::arbitrary<bool>();
    const CAudioParamInfo info = isText ? textInfo() : realInfo({{1, 2}, {3}});
    const int groups = *rc::gen::inRange(1, 15);
    CAudioParamStorage storage = storageOf(info, groups);
    for (int i = *rc::gen::inRange(0, 20); i > 0; --i)
    {
        const int group = *rc::gen::inRange(0, groups + 1);
        const int first = *rc::gen::inRange(0, 12);
        const auto values = *rc::gen::container<std::vector<double>>(rc::gen::arbitrary<double>());
        const bool cut = *rc::gen::arbitrary<bool>();
        CArray<CStringBuf> texts;
        for (const double value : values)
            texts.push_back(CStringBuf::fromInt(static_cast<int>(value * 100) % 1000) + CStringBuf(u"\u20ac\u00e9"));
        if (isText)
            putText(storage, group == groups ? allGroups : group, first, texts, cut);
        else
            put(storage, group == groups ? allGroups : group, first, {values.begin(), values.end()}, cut);
    }
    CMemoryOut out;
    RC_ASSERT(!storage.save(out, -1));
    CMemoryIn in(out.bytes);
    CAudioParamStorage loaded = storageOf(info, groups);
    RC_ASSERT(!loaded.load(in));
    RC_ASSERT(in.left() == 0u);
    RC_ASSERT(contents(loaded) == contents(storage));
}

TEST(ParamStorage, ChangesWithinTheHeldSizesDoNotAllocate)
{
    CAudioParamStorage bands = storageOf(realInfo(), 8);
    put(bands, allGroups, 0, CArray<double>(32, 1.0));
    const double value = 5.0;
    CAudioParamRequest request;
    request.values = &value;
    const CRealtimeGuard guard;
    for (int i = 0; i < 100; ++i)
    {
        request.group = i % 9 == 8 ? allGroups : i % 9;
        request.firstElement = i % 32;
        request.cut = i % 7 == 0;
        bands.applyChange(request);
    }
    EXPECT_EQ(guard.faults(), 0u);
}

}
