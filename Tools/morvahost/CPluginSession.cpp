// SPDX-License-Identifier: GPL-3.0-or-later
#include "CPluginSession.h"

#include "CPendingFile.h"
#include "CStateFile.h"
#include "NearNames.h"
#include "PluginPlaces.h"

#include "Audio/Parameters/CAudioParam.h"
#include "Core/CFileReader.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <charconv>
#include <cmath>
#include <strings.h>

namespace kor
{

namespace
{

constexpr std::string_view productName = "MorvaEQ";

bool isProductBundle(const std::string& bundle)
{
    std::string name = bundle;
    while (name.size() > 1 && name.back() == '/')
        name.pop_back();
    name = name.substr(name.rfind('/') + 1);
    return name.substr(0, productName.size()) == productName;
}

// A program by its number or name; fails with what there is.
CError findProgram(const std::vector<std::string>& programs, const std::string& text, int& index)
{
    const int count = static_cast<int>(programs.size());
    for (index = 0; index < count; ++index)
        if (::strcasecmp(programs[static_cast<std::size_t>(index)].c_str(), text.c_str()) == 0)
            return {};
    const auto read = std::from_chars(text.data(), text.data() + text.size(), index);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size())
        return KOR_FAIL("option --program: there is no program '%1'%2", text,
                        nearNameHint(text, programs, "; `morvahost info` lists them"));
    return index >= 0 && index < count ? CError() : KOR_FAIL("option --program: %1 is outside 0 to %2", text, count - 1);
}

CError writeFile(const std::string& path, bool mayReplace, const std::vector<char>& bytes)
{
    CPendingFile file;
    KOR_TRY(file.open(path, mayReplace));
    KOR_TRY(file.write(std::string(bytes.begin(), bytes.end())));
    return file.commit();
}

}

COutcome CPluginSession::open(const COptions& options)
{
    MORVA_USAGE(settings.read(options));
    MORVA_USAGE(ext.parse(options.texts(CExtAssignments::option.name)));
    std::string bundle;
    const bool isNamed = options.has(pluginOption.name);
    KOR_TRY(findPlugin(isNamed ? options.text(pluginOption.name) : std::string(productName), bundle));
    if (!isNamed || isProductBundle(bundle))
    {
        KOR_TRY(store.place());
        KOR_TRY(shadow.start());
        isEqualizer = true;
        MORVA_USAGE(settings.resolve(shadow.instance()));
        store.keep(settings.assignments());
    }
    else if (!settings.assignments().isEmpty())
        return COutcome::wrongUsage(KOR_FAIL("option --set is for the equalizer's own parameters; --ext gives '%1' those "
                                             "that hosts see", bundle));

    KOR_TRY(library.open(bundle, static_cast<Steinberg::Vst::IHostApplication*>(&host)));
    const CVst3Class* found = nullptr;
    KOR_TRY(library.findEffect(found));
    KOR_TRY(effect.open(library, *found));
    MORVA_USAGE(ext.resolve(effect));
    return {};
}

COutcome CPluginSession::setUp(const COptions& options, int inputs, int outputs)
{
    if (CError refused = effect.setLayout(inputs, outputs))
        return KOR_FAIL("%1; --channels N asks for others", refused.message());
    if (COutcome outcome = chooseProgram(options); outcome.error)
        return outcome;
    KOR_TRY(isEqualizer ? giveState(options) : giveForeignState(options));
    ext.give(effect);
    return {};
}

CError CPluginSession::activate(const COptions& options, const CVst3Setup& setup)
{
    KOR_TRY(effect.activate(setup));
    // A processor learns of host parameters by its queues alone.
    if (!effect.changes().isEmpty() && !effect.flush())
        return KOR_FAIL("'%1' refuses the parameters", effect.name());
    if (!options.has("--save-state"))
        return {};
    std::vector<char> state;
    KOR_TRY(effect.getState(state));
    return writeFile(options.text("--save-state"), options.has("--force"), state);
}

COutcome CPluginSession::chooseProgram(const COptions& options)
{
    if (!options.has(programOption.name))
        return {};
    const CVst3Parameter* const parameter = effect.programParameter();
    const std::vector<std::string> programs = effect.programs();
    if (parameter == nullptr || programs.empty())
        return KOR_FAIL("'%1' has no programs", effect.name());
    int index = 0;
    MORVA_USAGE(findProgram(programs, options.text(programOption.name), index));
    const double last = static_cast<double>(programs.size() - 1);
    effect.setValue(*parameter, last > 0.0 ? index / last : 0.0);
    return {};
}

// The plug-in's own state goes through the instance beside it, which puts the command line's on top.
CError CPluginSession::giveState(const COptions& options)
{
    CAudioInstance& beside = shadow.instance();
    std::vector<char> state;
    KOR_TRY(effect.getState(state));
    CByteArray bytes(state.begin(), state.end());
    CMemoryReader reader(bytes);
    KOR_TRY(beside.loadState(reader));
    KOR_TRY(settings.give(options, beside));
    if (settings.assignments().isEmpty() && !options.has(CStateFile::stateOption.name))
        return {};
    CWriteSeqBuffer written;
    KOR_TRY(beside.saveState(written));
    bytes = written.getContents();
    state.assign(bytes.begin(), bytes.end());
    return effect.setState(state);
}

CError CPluginSession::giveForeignState(const COptions& options)
{
    if (!options.has(CStateFile::stateOption.name))
        return {};
    if (options.has(CStateFile::programOption.name))
        return KOR_FAIL("option --bank-program is for the equalizer's banks");
    constexpr std::int64_t largestState = 256 << 20;
    const std::string& path = options.text(CStateFile::stateOption.name);
    CFileReader file;
    KOR_TRY(file.open(CStringBuf::fromUtf8(path)));
    std::int64_t size = 0;
    KOR_TRY(file.getSize(size));
    if (size > largestState)
        return KOR_FAIL("'%1' is too large for a state", path);
    std::vector<char> state(static_cast<std::size_t>(size));
    KOR_TRY(file.read(state.data(), size));
    return effect.setState(state);
}

std::set<int> CPluginSession::usedGroups(int inputs) const
{
    std::set<int> groups;
    if (!isEqualizer)
        return groups;
    const CAudioParam* const routing = shadow.instance().findParam("io-params.in-routing");
    const CAudioParam* const grouping = shadow.instance().findParam("io-params.grouping");
    for (int c = 0; c < inputs && routing != nullptr && grouping != nullptr; ++c)
        if (const long inside = std::lround(routing->getValue(0, c)); inside > 0)
            groups.insert(static_cast<int>(std::lround(grouping->getValue(0, static_cast<int>(inside) - 1))));
    return groups;
}

std::vector<int> CPluginSession::silentOutputs(int count) const
{
    std::vector<int> silent;
    const CAudioParam* const routing = isEqualizer ? shadow.instance().findParam("io-params.out-routing") : nullptr;
    for (int c = 0; c < count && routing != nullptr; ++c)
        if (c >= shadow.instance().channelCount() || std::lround(routing->getValue(0, c)) == 0)
            silent.push_back(c);
    return silent;
}

}
