// SPDX-License-Identifier: GPL-3.0-or-later
#include "VstTestKit.h"

#include "Audio/VST/ClassId.h"
#include "Support/CFreshDataFolders.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <malloc.h>
#include <set>
#include <sstream>
#include <unistd.h>

using namespace Steinberg;

namespace kor::test
{

namespace
{

// d078eb18-2ae8-410d-a8ac-ac3e16e5e69e as a GUID lies in memory.
constexpr unsigned char classBytes[16] = {0x18, 0xEB, 0x78, 0xD0, 0xE8, 0x2A, 0x0D, 0x41,
                                          0xA8, 0xAC, 0xAC, 0x3E, 0x16, 0xE5, 0xE6, 0x9E};

std::string narrow(const char16_t* text)
{
    std::string result;
    while (*text != 0)
        result += static_cast<char>(*text++);
    return result;
}

struct CLibrary
{
    CLibrary() : handle(::dlopen(MORVA_LIBRARY, RTLD_NOW | RTLD_LOCAL)) { EXPECT_NE(handle, nullptr) << ::dlerror(); }
    ~CLibrary() { ::dlclose(handle); }
    CLibrary(const CLibrary&) = delete;
    CLibrary& operator=(const CLibrary&) = delete;

    IPluginFactory* factory() const
    {
        return reinterpret_cast<IPluginFactory* (*)()>(::dlsym(handle, "GetPluginFactory"))();
    }

    void* handle;
};

long residentKilobytes()
{
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

}

TEST(VstModule, ShowsThreeFunctionsAndNothingElse)
{
    std::unique_ptr<FILE, int (*)(FILE*)> nm(::popen("nm -D --defined-only '" MORVA_LIBRARY "'", "r"), ::pclose);
    ASSERT_NE(nm, nullptr);
    std::set<std::string> names;
    char line[512];
    while (std::fgets(line, sizeof(line), nm.get()) != nullptr)
    {
        std::istringstream words(line);
        std::string address, kind, name;
        words >> address >> kind >> name;
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"GetPluginFactory", "ModuleEntry", "ModuleExit"}));
}

TEST(VstModule, TellsWhatItIs)
{
    IPluginFactory& factory = builtModule().factory();
    PFactoryInfo maker;
    ASSERT_EQ(factory.getFactoryInfo(&maker), kResultOk);
    EXPECT_STREQ(maker.vendor, "Tenvaro");
    EXPECT_EQ(maker.flags, 0x10);
    ASSERT_EQ(factory.countClasses(), 1);

    PClassInfo one;
    ASSERT_EQ(factory.getClassInfo(0, &one), kResultOk);
    EXPECT_EQ(std::memcmp(one.cid, classBytes, 16), 0);
    EXPECT_EQ(one.cardinality, 0x7FFFFFFF);
    EXPECT_STREQ(one.category, "Audio Module Class");
    EXPECT_STREQ(one.name, "MorvaEQ");

    FUnknownPtr<IPluginFactory3> newest(&factory);
    ASSERT_TRUE(newest);
    PClassInfo2 two;
    ASSERT_EQ(newest->getClassInfo2(0, &two), kResultOk);
    EXPECT_EQ(two.classFlags, 0u);
    EXPECT_STREQ(two.subCategories, "Fx|EQ");
    EXPECT_STREQ(two.vendor, "Tenvaro");
    EXPECT_STREQ(two.version, "3.8");
    EXPECT_STREQ(two.sdkVersion, "VST 3.5.1");
    PClassInfoW wide;
    ASSERT_EQ(newest->getClassInfoUnicode(0, &wide), kResultOk);
    EXPECT_EQ(narrow(wide.name), "MorvaEQ");
    EXPECT_EQ(narrow(wide.sdkVersion), "VST 3.5.1");

    EXPECT_NE(factory.getClassInfo(1, &one), kResultOk);
    EXPECT_NE(factory.getClassInfo(-1, &one), kResultOk);
    EXPECT_NE(factory.getFactoryInfo(nullptr), kResultOk);
}

TEST(VstModule, DescribesItselfInTheBundleAsItsFactoryDoes)
{
    std::ifstream file(MORVA_BUNDLE "/Contents/Resources/moduleinfo.json");
    const nlohmann::json info = nlohmann::json::parse(file);
    ASSERT_EQ(info["Classes"].size(), 1u);
    const nlohmann::json& effect = info["Classes"][0];
    EXPECT_EQ(info["Name"], "MorvaEQ");
    EXPECT_EQ(info["Factory Info"]["Vendor"], "Tenvaro");
    EXPECT_EQ(info["Factory Info"]["Flags"]["Unicode"], true);
    EXPECT_EQ(effect["CID"], "18EB78D0E82A0D41A8ACAC3E16E5E69E");
    EXPECT_EQ(effect["Sub Categories"], (nlohmann::json{"Fx", "EQ"}));
    EXPECT_EQ(effect["SDKVersion"], "VST 3.5.1");
}

TEST(VstModule, ReadsClassIdsAsGuidsAre)
{
    TUID id{};
    ASSERT_TRUE(parseClassId("d078EB18-2ae8-410d-a8ac-ac3e16e5e69e and more", id));
    EXPECT_EQ(std::memcmp(id, classBytes, 16), 0);
    for (const char* const wrong : {"", "d078eb18-2ae8-410d-a8ac-ac3e16e5e69", "d078eb1g-2ae8-410d-a8ac-ac3e16e5e69e",
                                    "d078eb182-ae8-410d-a8ac-ac3e16e5e69e", "d078eb18 2ae8 410d a8ac ac3e16e5e69e"})
        EXPECT_FALSE(parseClassId(wrong, id)) << wrong;
}

TEST(VstModule, AnswersAHostThatSkipsTheEntryAndGivesNoContext)
{
    const CFreshDataFolders folders;
    const CLibrary library;
    IPluginFactory* const factory = library.factory();
    ASSERT_NE(factory, nullptr);
    Vst::IComponent* component = nullptr;
    ASSERT_EQ(factory->createInstance(reinterpret_cast<FIDString>(classBytes), Vst::IComponent::iid.toTUID(),
                                      reinterpret_cast<void**>(&component)),
              kResultOk);
    EXPECT_EQ(component->initialize(nullptr), kResultOk);
    EXPECT_NE(component->initialize(nullptr), kResultOk); // a second time without an end between
    EXPECT_EQ(component->terminate(), kResultOk);
    EXPECT_EQ(component->initialize(nullptr), kResultOk);
    EXPECT_EQ(component->getBusCount(Vst::kAudio, Vst::kInput), 1);
    EXPECT_EQ(component->terminate(), kResultOk);
    EXPECT_EQ(component->release(), 0u);
    factory->release();
}

TEST(VstModule, CountsReferencesOverAllInterfacesOfAnObject)
{
    IPluginFactory& factory = builtModule().factory();
    void* made = nullptr;
    EXPECT_NE(factory.createInstance(nullptr, Vst::IComponent::iid.toTUID(), &made), kResultOk);
    EXPECT_NE(factory.createInstance(reinterpret_cast<FIDString>(classBytes), IPluginFactory::iid.toTUID(), &made),
              kResultOk);
    EXPECT_EQ(made, nullptr);
    TUID other{};
    EXPECT_NE(factory.createInstance(other, Vst::IComponent::iid.toTUID(), &made), kResultOk);
    EXPECT_EQ(made, nullptr);

    const FUID* const offered[] = {&FUnknown::iid,
                                   &IPluginBase::iid,
                                   &Vst::IComponent::iid,
                                   &Vst::IAudioProcessor::iid,
                                   &Vst::IEditController::iid,
                                   &Vst::IEditController2::iid,
                                   &Vst::IUnitInfo::iid,
                                   &Vst::IConnectionPoint::iid,
                                   &Vst::IProcessContextRequirements::iid};
    ASSERT_EQ(factory.createInstance(reinterpret_cast<FIDString>(classBytes), FUnknown::iid.toTUID(), &made),
              kResultOk);
    auto* const object = static_cast<FUnknown*>(made);
    std::vector<FUnknown*> faces;
    for (const FUID* const id : offered)
    {
        void* face = nullptr;
        ASSERT_EQ(object->queryInterface(*id, &face), kResultOk);
        faces.push_back(static_cast<FUnknown*>(face));
        void* same = nullptr; // identity: one unknown behind all of them
        ASSERT_EQ(faces.back()->queryInterface(FUnknown::iid, &same), kResultOk);
        EXPECT_EQ(same, made);
        faces.back()->release();
    }
    for (FUnknown* const face : faces)
        EXPECT_GT(face->release(), 0u);
    EXPECT_NE(object->queryInterface(IPluginFactory::iid, &made), kResultOk);
    EXPECT_EQ(object->release(), 0u);

    const uint32 before = factory.addRef();
    {
        const FUnknownPtr<IPluginFactory2> held(&factory);
        EXPECT_TRUE(held);
    }
    EXPECT_EQ(factory.release(), before - 1);
}

TEST(VstModule, LoadsAndUnloadsAThousandTimesWithoutGrowing)
{
    const CFreshDataFolders folders;
#if defined(KOR_SANITIZE)
    constexpr int rounds = 60;
#else
    constexpr int rounds = 1000;
#endif
    const auto round = [](bool withInstance)
    {
        CVst3Module module;
        ASSERT_FALSE(module.open(MORVA_BUNDLE));
        if (!withInstance)
            return;
        const CVst3Class* effect = nullptr;
        ASSERT_FALSE(module.findEffect(effect));
        CVst3Plugin plugin(hostApplication());
        ASSERT_FALSE(plugin.open(module, *effect));
    };
    for (int i = 0; i < rounds / 5; ++i) // pools reach the size that they keep
        round(true);
    const auto heapBefore = ::mallinfo2().uordblks;
    const long residentBefore = residentKilobytes();
    for (int i = 0; i < rounds; ++i)
        round(i % 10 == 0);
    const auto heapAfter = ::mallinfo2().uordblks;
    const long grown = residentKilobytes() - residentBefore;
    std::printf("%d rounds: heap %+ld bytes, resident %+ld kB\n", rounds,
                static_cast<long>(heapAfter) - static_cast<long>(heapBefore), grown);
#if !defined(KOR_SANITIZE)
    EXPECT_LT(heapAfter, heapBefore + 4096);
    EXPECT_LT(grown, 1024);
#endif
}

}
