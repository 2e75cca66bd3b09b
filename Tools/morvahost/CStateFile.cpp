// SPDX-License-Identifier: GPL-3.0-or-later
#include "CStateFile.h"

#include "CPendingFile.h"

#include "Audio/Parameters/CAudioParamRegistry.h"
#include "Audio/Plugin/CAudioInstance.h"
#include "Core/CFileReader.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>
#include <limits>

namespace kor
{

namespace
{

CError applyProgram(CInputStream& file, int program, const std::string& path, CAudioInstance& instance)
{
    CByteArray body;
    KOR_TRY(file.readCompressedData(body, CAudioPresetBank::fileId));
    CMemoryReader reader(body);
    CAudioPresetBank bank;
    KOR_TRY(bank.load(reader));
    if (static_cast<std::size_t>(program) >= bank.size())
        return KOR_FAIL("option --bank-program: '%1' has programs 0 to %2 only", path,
                        static_cast<int>(bank.size()) - 1);
    CWriteSeqBuffer chosen;
    KOR_TRY(bank.preset(static_cast<std::size_t>(program)).save(chosen));
    const CByteArray bytes = chosen.getContents();
    CMemoryReader preset(bytes);
    return instance.registry().activatePreset(preset, CAudioPresetScope::storable, everyIndex, CAudioPresetUndo::none);
}

}

CError CStateFile::check(const COptions& options)
{
    int program = 0;
    KOR_TRY(options.readInt("--bank-program", 0, std::numeric_limits<int>::max(), program));
    if (options.has("--bank-program") && !options.has("--state"))
        return KOR_FAIL("option --bank-program says which program of --state FILE is meant; give that too");
    return {};
}

CError CStateFile::load(const COptions& options, CAudioInstance& instance)
{
    if (!options.has("--state"))
        return {};
    const std::string& path = options.text("--state");
    CFileReader file;
    KOR_TRY(file.open(CStringBuf::fromUtf8(path)));
    if (!options.has("--bank-program"))
        return instance.loadState(file);
    int program = 0;
    KOR_TRY(options.readInt("--bank-program", 0, std::numeric_limits<int>::max(), program));
    return applyProgram(file, program, path, instance);
}

CError CStateFile::save(const COptions& options, CAudioInstance& instance)
{
    if (!options.has("--save-state"))
        return {};
    CWriteSeqBuffer state;
    KOR_TRY(instance.saveState(state));
    const CByteArray bytes = state.getContents();
    CPendingFile file;
    KOR_TRY(file.open(options.text("--save-state"), options.has("--force")));
    KOR_TRY(file.write(std::string(bytes.begin(), bytes.end())));
    return file.commit();
}

}
