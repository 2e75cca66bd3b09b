// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kor::test
{

/// A sound file's contents. Samples are interleaved, full scale 1.
struct CSound
{
    int rate = 48000;
    int channels = 1;
    std::vector<double> samples;

    std::size_t frames() const { return samples.size() / static_cast<std::size_t>(channels); }
};

/// Writes a file in one of the library's formats (default: WAV of 64-bit floating point).
void writeSound(const std::string& path, const CSound& sound, int format = 0);

/// Reads a file whole; a file that cannot be read fails the running test and gives no samples. `format` gets the
/// library's number of its format.
CSound readSound(const std::string& path, int* format = nullptr);

/// White noise of full scale times `level`, from a fixed seed.
CSound noise(int channels, std::size_t frames, int rate = 48000, double level = 0.5);

/// Between samples of the same place; infinite when the lengths differ.
double largestDifference(const std::vector<double>& a, const std::vector<double>& b);

std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);
bool exists(const std::string& path);

/// Names in a folder, sorted.
std::vector<std::string> folderNames(const std::string& path);

}
