# The plug-in interface's SDK, from the folder that Debian's juce-modules-source-data installs: `vst3sdk` has all that a
# plug-in or a host of ours links, nothing else of that package. Another copy of the SDK: -DMORVA_VST3_SDK=path.

set(MORVA_VST3_SDK /usr/share/juce/modules/juce_audio_processors/format_types/VST3_SDK CACHE PATH
    "Folder of the VST 3 SDK: the one that has base, pluginterfaces and public.sdk in it")
if(NOT EXISTS ${MORVA_VST3_SDK}/pluginterfaces/vst/ivstcomponent.h)
    message(FATAL_ERROR "No VST 3 SDK in '${MORVA_VST3_SDK}': run Tools/install-deps, or pass -DMORVA_VST3_SDK=path")
endif()

set(base baseiids fbuffer fdebug fobject fstreamer fstring updatehandler)
set(pluginterfaces conststringtable coreiids funknown ustring)
set(vst vstbus vstcomponent vstcomponentbase vsteditcontroller vstinitiids vstparameters)
list(TRANSFORM base PREPEND ${MORVA_VST3_SDK}/base/source/)
list(TRANSFORM pluginterfaces PREPEND ${MORVA_VST3_SDK}/pluginterfaces/base/)
list(TRANSFORM vst PREPEND ${MORVA_VST3_SDK}/public.sdk/source/vst/)
set(sources ${base} ${pluginterfaces} ${vst} ${MORVA_VST3_SDK}/base/thread/source/flock
    ${MORVA_VST3_SDK}/public.sdk/source/common/pluginview)
list(TRANSFORM sources APPEND .cpp)

# ViewIds.cpp: ids that the SDK declares and that none of its sources defines.
add_library(vst3sdk STATIC ${sources} ${PROJECT_SOURCE_DIR}/Sources/Audio/VST/Sdk/ViewIds.cpp)
target_include_directories(vst3sdk SYSTEM PUBLIC ${MORVA_VST3_SDK})
target_compile_definitions(vst3sdk PUBLIC RELEASE=1)
# Its interfaces count references and have no destructor, so whatever implements one has none either.
target_compile_options(vst3sdk PRIVATE -w INTERFACE -Wno-non-virtual-dtor)
if(MORVA_SANITIZE)
    target_compile_options(vst3sdk PRIVATE -fsanitize=${MORVA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(vst3sdk INTERFACE -fsanitize=${MORVA_SANITIZE})
endif()
