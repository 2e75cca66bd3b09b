// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Core/CError.h"

#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/base/smartpointer.h"

#include <string>
#include <vector>

namespace kor
{

/// A class that a module offers.
struct CVst3Class
{
    Steinberg::FUID id;
    std::string category;               // "Audio Module Class"
    std::string name;
    std::string vendor;
    std::string version;
    std::string sdkVersion;
    std::string subCategories;          // "Fx|EQ"
    int cardinality = 0;
    unsigned flags = 0;
};

// A plug-in's bundle, loaded: a folder with the library of this machine's kind in it, the library's entry called, its
// factory at hand. The library goes with the object, so every object that came out of it has to be gone before. Each
// failure of open() is one line that names the bundle. Belongs to one thread.
class CVst3Module
{
public:
    CVst3Module() = default;
    ~CVst3Module() { close(); }
    CVst3Module(const CVst3Module&) = delete;
    CVst3Module& operator=(const CVst3Module&) = delete;

    /// Loads a bundle. hostContext: given to factories that ask for it; may be null, must outlive the object.
    CError open(const std::string& bundle, Steinberg::FUnknown* hostContext = nullptr);

    /// Ends the factory and unloads the library. Nothing happens when none is open.
    void close();

    const std::string& path() const noexcept { return folder; }
    const std::string& libraryPath() const noexcept { return library; }

    /// Valid after open().
    Steinberg::IPluginFactory& factory() const noexcept { return *classFactory; }
    const Steinberg::PFactoryInfo& factoryInfo() const noexcept { return about; }
    const std::vector<CVst3Class>& classes() const noexcept { return offered; }

    /// The first audio effect of the module; fails when it has none.
    CError findEffect(const CVst3Class*& effect) const;

    /// "x86_64-linux", the folder of a bundle that holds libraries for this machine.
    static std::string machineFolder();

private:
    CError locate(const std::string& bundle);
    CError start();
    void readClasses();

    template <class Function>
    CError findSymbol(const char* name, Function*& function) const;

    std::string folder;
    std::string library;
    void* handle = nullptr;
    bool (*exitModule)() = nullptr;     // once the module has been entered
    Steinberg::IPtr<Steinberg::IPluginFactory> classFactory;
    Steinberg::PFactoryInfo about = {};
    std::vector<CVst3Class> offered;
};

}
