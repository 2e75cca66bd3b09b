// SPDX-License-Identifier: GPL-3.0-or-later
#include "StateTestKit.h"

#include "Audio/Parameters/CAudioParamDataItemRaw.h"
#include "Audio/Parameters/CAudioParamDataItemString.h"
#include "Audio/Parameters/CAudioPresetNameList.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Support/CTestTree.h"

namespace kor::test
{

namespace
{

const char* const kSelected = "modMorvaEQ.dyn-params.";     // follows dynmode

template <class Value>
void append(std::string& to, const Value& value)
{
    to.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string contentOf(const CAudioParam& param)
{
    CLockHolder hold(param.lock());
    const CAudioParamStorage& values = param.values();
    std::string content;
    for (int g = 0; g < values.groupCount(); ++g)
    {
        append(content, values.elementCount(g));
        for (int e = 0; e < values.elementCount(g); ++e)
        {
            if (values.type() == CAudioParamType::real)
                for (const double component : values.element(g, e))
                    append(content, component);
            const std::string text = values.getText(g, e).toUtf8();
            append(content, text.size());
            content += text;
            const auto raw = values.getRaw(g, e);
            append(content, raw.size());
            content.append(raw.begin(), raw.end());
        }
    }
    return content;
}

CStringBuf randomText(std::mt19937& random)
{
    CStringBuf text;
    const unsigned kind = random() % 3;
    // Now and then as long as a text may be, where it is cut between two characters.
    for (unsigned i = random() % 100 == 0 ? 61460 : random() % 60; i > 0; --i)
    {
        if (kind == 0 || random() % 4 == 0)
            text.append(static_cast<char16_t>(1 + random() % 255));
        else if (kind == 1)
            text.append(static_cast<char16_t>(0x100 + random() % 0xD700));
        else
        {
            text.append(static_cast<char16_t>(0xD800 + random() % 0x400));
            text.append(static_cast<char16_t>(0xDC00 + random() % 0x400));
        }
    }
    return text;
}

CByteArray randomBytes(std::mt19937& random)
{
    const std::size_t sizes[] = {0, 1, 47, 48, 49, random() % 1000, random() % 1000, 100000};
    CByteArray bytes(sizes[random() % 64 == 0 ? 7 : random() % 7]);
    const std::size_t seed = random();
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>((i + seed) * 2654435761u >> 13);
    return bytes;
}

}

CStateSnapshot snapshot(const CAudioInstance& instance, CSnapshotOf part)
{
    CStateSnapshot all;
    for (const CStringBuf& key : instance.paramKeys())
    {
        const CAudioParam& param = *instance.findParam(key);
        if (param.info().isStorable || (part == CSnapshotOf::projects && param.info().isPersistent))
            all[key.toUtf8()] = contentOf(param);
    }
    for (const char* key : {"mid-side-bypass", "oversampling-bypass", "preset-name"})
        all[key] = contentOf(*instance.findParam(key));
    const CAudioParamRegistry& master = instance.registry();
    all["(program)"] = master.getProgramName(master.getCurrentProgram()).toUtf8();
    return all;
}

std::string differences(const CStateSnapshot& a, const CStateSnapshot& b)
{
    std::string keys;
    for (const auto& [key, content] : a)
        if (const auto other = b.find(key); other == b.end() || other->second != content)
            keys += key + " ";
    for (const auto& [key, content] : b)
        if (!a.contains(key))
            keys += key + " ";
    return keys;
}

std::vector<CAudioParam*> editableParams(const CAudioInstance& instance, CSnapshotOf part)
{
    std::vector<CAudioParam*> params;
    for (const CStringBuf& key : instance.paramKeys())
    {
        CAudioParam* const param = instance.findParam(key);
        if ((param->info().isStorable || (part == CSnapshotOf::projects && param->info().isPersistent)) &&
            !key.startsWith(kSelected))
            params.push_back(param);
    }
    return params;
}

void changeAtRandom(CAudioParam& param, CAudioParamRequest request, std::mt19937& random, CAudioParamUndoContext* undo)
{
    const CAudioParamInfo& info = param.info();
    CAudioParamData table;
    std::vector<double> values(static_cast<std::size_t>(request.elementCount * info.elementSize));
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const int component = static_cast<int>(i) % info.elementSize;
        const double share = random() % 8 == 0 ? 1.0 : random() / 4294967295.0;
        if (info.type == CAudioParamType::real)
            values[i] = info.minValue(component) + share * (info.maxValue(component) - info.minValue(component));
        else if (info.type == CAudioParamType::string)
            values[i] = table.add(new CAudioParamDataItemString(randomText(random)));
        else
            values[i] = table.add(new CAudioParamDataItemRaw(randomBytes(random)));
    }
    request.elementSize = info.elementSize;
    request.type = info.type;
    request.values = values.data();
    request.items = &table;
    param.change(request, undo);
}

void scatter(CAudioInstance& instance, unsigned seed)
{
    std::mt19937 random(seed);
    for (CAudioParam* const param : editableParams(instance, CSnapshotOf::projects))
        for (int g = 0; g < instance.groupCount(); ++g)
        {
            CAudioParamRequest request;
            request.group = g;
            request.elementCount = static_cast<int>(random() % (random() % 4 == 0 ? 33 : 5));
            request.cut = true;
            changeAtRandom(*param, request, random);
        }
}

CByteArray captured(CAudioParamRegistry& registry, int group)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(registry.acquirePreset(CAudioPresetSource::session, -1, group, out)));
    return out.getContents();
}

CAudioPreset presetOf(const CByteArray& body)
{
    CMemoryReader reader(body);
    CAudioPreset preset;
    EXPECT_TRUE(succeeded(preset.load(reader)));
    return preset;
}

CByteArray bodyOf(const CAudioPreset& preset)
{
    CWriteSeqBuffer out;
    EXPECT_TRUE(succeeded(preset.save(out)));
    return out.getContents();
}

std::string activate(CAudioParamRegistry& registry, const CByteArray& body, int group, CAudioPresetScope scope,
                     CAudioPresetUndo undoing)
{
    CMemoryReader reader(body);
    return registry.activatePreset(reader, scope, group, undoing).message();
}

CAudioPresetBank builtInList(CApplicationData& store, const char* name)
{
    const std::shared_ptr<const CAudioPresetBank> bank = readPresetList(store, name, "test");
    EXPECT_NE(bank, nullptr) << name;
    return bank != nullptr ? *bank : CAudioPresetBank();
}

CAudioParamUndo& historyOf(const CAudioInstance& instance)
{
    for (CObject* object : instance.registry().parent()->children())
        if (auto* const undo = dynamic_cast<CAudioParamUndo*>(object))
            return *undo;
    ADD_FAILURE() << "no history";
    std::abort();
}

}
