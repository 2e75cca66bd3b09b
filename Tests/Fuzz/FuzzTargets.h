// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace kor::test
{

// What reads bytes from files, hosts and users, one function each. Whatever comes in, it returns, stays within its bytes
// (the sanitizers watch) and costs no more memory than the bytes could honestly need; what it accepts has the property
// that it checks by itself, and it ends the process where that does not hold. Each returns 1 for what it accepted. They
// are run by CFuzzRun for a moment in the tests and by libFuzzer for as long as one likes.
int fuzzBlock(const unsigned char* data, std::size_t size);         // a compressed data block, and a file of presets
int fuzzTree(const unsigned char* data, std::size_t size);          // a compiled object tree
int fuzzPreset(const unsigned char* data, std::size_t size);        // the body of a preset
int fuzzBank(const unsigned char* data, std::size_t size);
int fuzzList(const unsigned char* data, std::size_t size);          // of banks
int fuzzPresetText(const unsigned char* data, std::size_t size);    // presets as text
int fuzzState(const unsigned char* data, std::size_t size);         // a master preset, on a running equalizer
int fuzzInterface(const unsigned char* data, std::size_t size);     // a client's message to an instance
int fuzzViz(const unsigned char* data, std::size_t size);           // what the window gets to show

struct CFuzzTarget
{
    const char* name;
    int (*run)(const unsigned char* data, std::size_t size);
    std::vector<std::string> (*seeds)();                            // valid inputs, from the built-in content
};

std::span<const CFuzzTarget> fuzzTargets();

std::vector<std::string> blockSeeds();
std::vector<std::string> treeSeeds();
std::vector<std::string> presetSeeds();
std::vector<std::string> bankSeeds();
std::vector<std::string> listSeeds();
std::vector<std::string> presetTextSeeds();
std::vector<std::string> stateSeeds();
std::vector<std::string> interfaceSeeds();
std::vector<std::string> vizSeeds();

/// Starts the application, which several targets need, once.
void startForFuzzing();

/// Ends the process unless `holds`.
void require(bool holds, const char* what);

}
