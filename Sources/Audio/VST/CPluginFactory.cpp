// SPDX-License-Identifier: GPL-3.0-or-later
#include "Audio/VST/CPluginFactory.h"

#include "Audio/VST/CAudioWrapperVST3.h"
#include "Audio/VST/ClassId.h"
#include "Audio/VST/VstText.h"

namespace kor
{

using namespace Steinberg;

namespace
{

constexpr const char* sdkVersion = "VST 3.5.1"; // whose rules the plug-in keeps

/// The fields that all three records of a class share.
template <class Info>
void describe(Info& info, const TUID id)
{
    info = Info();
    std::memcpy(info.cid, id, sizeof(TUID));
    info.cardinality = PClassInfo::kManyInstances;
    putUtf8(kVstAudioEffectClass, info.category);
}

}

CError CPluginFactory::init(CPluginProject description)
{
    project = std::move(description);
    if (!parseClassId(project.uuid, classId))
        return KOR_FAIL("'%1' is no id of a plug-in.", project.uuid);
    return {};
}

tresult PLUGIN_API CPluginFactory::queryInterface(const TUID id, void** object)
{
    if (object == nullptr)
        return kInvalidArgument;
    QUERY_INTERFACE(id, object, FUnknown::iid, IPluginFactory3)
    QUERY_INTERFACE(id, object, IPluginFactory::iid, IPluginFactory3)
    QUERY_INTERFACE(id, object, IPluginFactory2::iid, IPluginFactory3)
    QUERY_INTERFACE(id, object, IPluginFactory3::iid, IPluginFactory3)
    *object = nullptr;
    return kNoInterface;
}

uint32 PLUGIN_API CPluginFactory::addRef()
{
    return ++references;
}

uint32 PLUGIN_API CPluginFactory::release()
{
    return --references;
}

tresult PLUGIN_API CPluginFactory::getFactoryInfo(PFactoryInfo* info)
{
    if (info == nullptr)
        return kInvalidArgument;
    *info = PFactoryInfo();
    putUtf8(project.vendor, info->vendor);
    putUtf8(project.vendorUrl, info->url);
    putUtf8(project.vendorEmail, info->email);
    info->flags = PFactoryInfo::kUnicode;
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfo(int32 index, PClassInfo* info)
{
    if (info == nullptr || index != 0)
        return kInvalidArgument;
    describe(*info, classId);
    putUtf8(project.name, info->name);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfo2(int32 index, PClassInfo2* info)
{
    if (info == nullptr || index != 0)
        return kInvalidArgument;
    describe(*info, classId);
    putUtf8(project.name, info->name);
    putUtf8(project.category, info->subCategories);
    putUtf8(project.vendor, info->vendor);
    putUtf8(project.version, info->version);
    putUtf8(sdkVersion, info->sdkVersion);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::getClassInfoUnicode(int32 index, PClassInfoW* info)
{
    if (info == nullptr || index != 0)
        return kInvalidArgument;
    describe(*info, classId);
    putUnits(project.name, info->name);
    putUtf8(project.category, info->subCategories);
    putUnits(project.vendor, info->vendor);
    putUnits(project.version, info->version);
    putUnits(sdkVersion, info->sdkVersion);
    return kResultOk;
}

tresult PLUGIN_API CPluginFactory::createInstance(FIDString wanted, FIDString interfaceId, void** object)
{
    if (object == nullptr)
        return kInvalidArgument;
    *object = nullptr;
    if (wanted == nullptr || interfaceId == nullptr)
        return kInvalidArgument;
    if (std::memcmp(wanted, classId, sizeof(TUID)) != 0)
        return kNoInterface;
    TUID id;
    std::memcpy(id, interfaceId, sizeof(id));
    FUnknown* const made = (new CAudioWrapperVST3)->unknownCast();
    const tresult result = made->queryInterface(id, object);
    made->release();
    return result;
}

}
