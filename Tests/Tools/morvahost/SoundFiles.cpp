// SPDX-License-Identifier: GPL-3.0-or-later
#include "SoundFiles.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kor::test
{

void writeSound(const std::string& path, const CSound& sound, int format)
{
    SF_INFO info = {};
    info.channels = sound.channels;
    info.samplerate = sound.rate;
    info.format = format != 0 ? format : SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    const auto frames = static_cast<sf_count_t>(sound.frames());
    EXPECT_EQ(sf_writef_double(file, sound.samples.data(), frames), frames);
    sf_close(file);
}

CSound readSound(const std::string& path, int* format)
{
    CSound sound;
    SF_INFO info = {};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    if (file == nullptr)
    {
        ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
        return sound;
    }
    sound.rate = info.samplerate;
    sound.channels = info.channels;
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_readf_double(file, sound.samples.data(), info.frames), info.frames);
    sf_close(file);
    if (format != nullptr)
        *format = info.format;
    return sound;
}

CSound noise(int channels, std::size_t frames, int rate, double level)
{
    CSound sound;
    sound.rate = rate;
    sound.channels = channels;
    std::uint32_t state = 20221;
    for (std::size_t i = 0; i < frames * static_cast<std::size_t>(channels); ++i)
    {
        state = state * 1664525u + 1013904223u;
        sound.samples.push_back(level * (state / 2147483648.0 - 1.0));
    }
    return sound;
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size())
        return HUGE_VAL;
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

std::string readBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

bool exists(const std::string& path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

std::vector<std::string> folderNames(const std::string& path)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}
