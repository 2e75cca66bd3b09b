// SPDX-License-Identifier: GPL-3.0-or-later
#include "Vst3Host/CVst3Module.h"

#include "Vst3Host/HostText.h"

#include "pluginterfaces/vst/ivstaudioprocessor.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/utsname.h>

namespace kor
{

using namespace Steinberg;

namespace
{

bool isFolder(const std::string& path)
{
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

}

std::string CVst3Module::machineFolder()
{
    utsname machine = {};
    ::uname(&machine);
    return std::string(machine.machine) + "-linux";
}

CError CVst3Module::locate(const std::string& bundle)
{
    folder = bundle;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    struct stat found = {};
    if (::stat(folder.c_str(), &found) != 0)
        return KOR_FAIL("unable to load '%1': %2", bundle, std::strerror(errno));
    if (!S_ISDIR(found.st_mode))
        return KOR_FAIL("'%1' is no VST 3 bundle: it is a file; give the folder that ends in .vst3", bundle);
    if (!isFolder(folder + "/Contents"))
        return KOR_FAIL("'%1' is no VST 3 bundle: there is no folder Contents in it", bundle);
    std::string name = folder.substr(folder.rfind('/') + 1);
    name = name.substr(0, name.rfind('.'));
    const std::string inside = "Contents/" + machineFolder() + '/' + name + ".so";
    library = folder + '/' + inside;
    if (::stat(library.c_str(), &found) != 0)
        return KOR_FAIL("'%1' holds nothing for this machine: %2: %3", bundle, inside, std::strerror(errno));
    return {};
}

template <class Function>
CError CVst3Module::findSymbol(const char* name, Function*& function) const
{
    function = reinterpret_cast<Function*>(::dlsym(handle, name));
    return function != nullptr ? CError() : KOR_FAIL("'%1' is no VST 3 plug-in: its library has no %2", folder, name);
}

CError CVst3Module::open(const std::string& bundle, FUnknown* hostContext)
{
    close();
    KOR_TRY(locate(bundle));
    handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
        return KOR_FAIL("unable to load '%1': %2", bundle, ::dlerror());
    if (CError failure = start())
    {
        close();
        return failure;
    }
    if (const FUnknownPtr<IPluginFactory3> factory3(classFactory); factory3 && hostContext != nullptr)
        factory3->setHostContext(hostContext);
    classFactory->getFactoryInfo(&about);
    readClasses();
    return {};
}

CError CVst3Module::start()
{
    bool (*enter)(void*) = nullptr;
    bool (*leave)() = nullptr;
    IPluginFactory* (PLUGIN_API * getFactory)() = nullptr;
    KOR_TRY(findSymbol("GetPluginFactory", getFactory));
    KOR_TRY(findSymbol("ModuleEntry", enter));
    KOR_TRY(findSymbol("ModuleExit", leave));
    if (!enter(handle))
        return KOR_FAIL("the plug-in in '%1' does not start", folder);
    exitModule = leave;
    classFactory = IPtr<IPluginFactory>(getFactory(), false);
    return classFactory != nullptr ? CError() : KOR_FAIL("the plug-in in '%1' gives no factory", folder);
}

void CVst3Module::close()
{
    offered.clear();
    classFactory.reset();
    if (exitModule != nullptr)
        exitModule();
    exitModule = nullptr;
    if (handle != nullptr)
        ::dlclose(handle);
    handle = nullptr;
}

void CVst3Module::readClasses()
{
    const FUnknownPtr<IPluginFactory2> factory2(classFactory);
    const int32 count = classFactory->countClasses();
    for (int32 i = 0; i < count; ++i)
    {
        CVst3Class one;
        PClassInfo2 more = {};
        PClassInfo info = {};
        if (factory2 && factory2->getClassInfo2(i, &more) == kResultOk)
        {
            one.id = FUID::fromTUID(more.cid);
            one.category = fieldText(more.category);
            one.name = fieldText(more.name);
            one.vendor = fieldText(more.vendor);
            one.version = fieldText(more.version);
            one.sdkVersion = fieldText(more.sdkVersion);
            one.subCategories = fieldText(more.subCategories);
            one.cardinality = more.cardinality;
            one.flags = more.classFlags;
        }
        else if (classFactory->getClassInfo(i, &info) == kResultOk)
        {
            one.id = FUID::fromTUID(info.cid);
            one.category = fieldText(info.category);
            one.name = fieldText(info.name);
            one.cardinality = info.cardinality;
        }
        else
            continue;
        if (one.vendor.empty())
            one.vendor = fieldText(about.vendor);
        offered.push_back(std::move(one));
    }
}

CError CVst3Module::findEffect(const CVst3Class*& effect) const
{
    for (const CVst3Class& one : offered)
        if (one.category == kVstAudioEffectClass)
        {
            effect = &one;
            return {};
        }
    return KOR_FAIL("'%1' holds no audio effect", folder);
}

}
