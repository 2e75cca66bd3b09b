// SPDX-License-Identifier: GPL-3.0-or-later
#include "CPresetCommand.h"

#include "CPendingFile.h"
#include "MorvaResources.h"
#include "PresetText/CPresetTextReader.h"
#include "PresetText/PresetTextWriter.h"

#include "Audio/Plugin/AudioCreators.h"
#include "Core/CApplication.h"
#include "Core/CFileReader.h"

#include <cstdio>

namespace kor
{

namespace
{

constexpr COptionSpec presetOptions[] = {
    {"--out", "FILE", "dump: write the text to a file instead of standard output"},
    {"--force", nullptr, "replace an existing output"},
};

// The application for the length of the command: its shared tree knows units and states, and no instance is needed.
class CApplicationSession
{
public:
    CApplicationSession() = default;
    CApplicationSession(const CApplicationSession&) = delete;
    CApplicationSession& operator=(const CApplicationSession&) = delete;
    ~CApplicationSession()
    {
        if (CApplication::exists())
            CApplication::finishApplication();
    }

    CError start()
    {
        CApplicationSetup setup;
        setup.creators = allCreators();
        setup.resources = morvaResources;
        return CApplication::initApplication(setup);
    }
};

// As it arrives, so that a pipe or a device does as well as a file.
CError readFile(const std::string& path, std::string& bytes)
{
    CFileReader reader;
    KOR_TRY(reader.open(CStringBuf::fromUtf8(path)));
    constexpr std::size_t step = 65536;
    for (std::int64_t count = step; count > 0;)
    {
        const std::size_t have = bytes.size();
        bytes.resize(have + step);
        count = step;
        KOR_TRY(reader.readRef(bytes.data() + have, count));
        bytes.resize(have + static_cast<std::size_t>(count));
        if (bytes.size() > CPresetFile::largestBody)
            return KOR_FAIL("'%1' is too large for presets", path);
    }
    return {};
}

CError writeFile(const std::string& path, const std::string& bytes, bool mayReplace)
{
    CPendingFile file;
    KOR_TRY(file.open(path, mayReplace));
    KOR_TRY(file.write(bytes));
    return file.commit();
}

}

const char* CPresetCommand::usage() const
{
    return "morvahost preset dump FILE [--out TEXT] [--force]\n"
           "  morvahost preset make TEXT OUT [--force]\n"
           "\n"
           "dump writes a preset (.cpf), a bank (.cbf) or a stored list of banks as text: a parameter a line, values in\n"
           "their units. make reads such a text and writes the file; which of the three, the text's first word says. A\n"
           "dump that is made again has the same content byte for byte. Gfx/Presets/README.md describes the text.\n"
           "Example: morvahost preset dump mine.cpf --out mine.txt && morvahost preset make mine.txt mine.cpf --force\n";
}

std::span<const COptionSpec> CPresetCommand::options() const
{
    return presetOptions;
}

COutcome CPresetCommand::run(const COptions& options)
{
    const std::vector<std::string>& words = options.words();
    const std::string action = words.empty() ? std::string() : words[0];
    if (action == "dump" && words.size() == 2)
        return dump(words[1], options);
    if (action == "make" && words.size() == 3)
        return options.has("--out") ? COutcome::wrongUsage(KOR_FAIL("'preset make' takes its output as second file name"))
                                    : make(words[1], words[2], options);
    if (action == "dump" || action == "make")
        return COutcome::wrongUsage(KOR_FAIL("'preset %1' takes %2", action,
                                             action == "dump" ? "one file" : "a text and the name of its output"));
    return COutcome::wrongUsage(KOR_FAIL("give 'preset dump FILE' or 'preset make TEXT OUT'"));
}

COutcome CPresetCommand::dump(const std::string& path, const COptions& options)
{
    std::string bytes;
    KOR_TRY(readFile(path, bytes));
    CPresetFile file;
    if (CError wrong = file.read({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}))
        return KOR_FAIL("'%1': %2", path, wrong.message());
    CApplicationSession session;
    KOR_TRY(session.start());
    const std::string text = presetText(file);
    if (options.has("--out"))
        return writeFile(options.text("--out"), text, options.has("--force"));
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        return KOR_FAIL("unable to write to standard output");
    return {};
}

COutcome CPresetCommand::make(const std::string& path, const std::string& out, const COptions& options)
{
    std::string text;
    KOR_TRY(readFile(path, text));
    CApplicationSession session;
    KOR_TRY(session.start());
    CPresetFile file;
    CPresetTextReader reader(path, text);
    KOR_TRY(reader.read(file));
    CByteArray bytes;
    KOR_TRY(file.write(bytes));
    return writeFile(out, std::string(bytes.begin(), bytes.end()), options.has("--force"));
}

}
