# How every target of the house is compiled, and the helpers that declare rooms, test programs and benchmarks.

add_library(kor_flags INTERFACE)
target_include_directories(kor_flags INTERFACE ${PROJECT_SOURCE_DIR}/Sources)
target_compile_options(kor_flags INTERFACE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-qual
    -Wno-missing-field-initializers
    # One rounding per operation on every machine: contraction to fused multiply-add would make the same
    # setting sound different from build to build. Kernels that want it say so themselves.
    -ffp-contract=off)
if(MORVA_WERROR)
    target_compile_options(kor_flags INTERFACE -Werror)
endif()
if(MORVA_SANITIZE)
    target_compile_options(kor_flags INTERFACE -fsanitize=${MORVA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(kor_flags INTERFACE -fsanitize=${MORVA_SANITIZE})
    target_compile_definitions(kor_flags INTERFACE "KOR_SANITIZE=1")
endif()

# kor_room(Name DIR folder... LINK targets...): one static library of all sources in the folders.
# Platform's system subfolder is picked by the system's name.
function(kor_room name)
    cmake_parse_arguments(R "" "" "DIR;LINK" ${ARGN})
    set(sources)
    foreach(dir IN LISTS R_DIR)
        file(GLOB found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.cpp ${PROJECT_SOURCE_DIR}/${dir}/*.h
             ${PROJECT_SOURCE_DIR}/${dir}/${CMAKE_SYSTEM_NAME}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    if(NOT sources)                                 # a room nobody has moved into yet
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE kor_flags ${R_LINK})
        return()
    endif()
    # A kernel that is compiled once per processor kind includes itself over and over, which it must do alone.
    foreach(source IN LISTS sources)
        file(STRINGS ${source} kernel REGEX "define HWY_TARGET_INCLUDE" LIMIT_COUNT 1)
        if(kernel)
            set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
            # Highway's vectors for 64-bit ARM are made for processors with the cryptographic extension, and what the
            # compiler adds to a kernel by itself must be for the same.
            if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
                set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -march=armv8-a+crypto)
            endif()
        endif()
    endforeach()
    add_library(${name} STATIC ${sources})
    set_target_properties(${name} PROPERTIES UNITY_BUILD ${MORVA_UNITY} UNITY_BUILD_BATCH_SIZE 12)
    target_link_libraries(${name} PUBLIC kor_flags ${R_LINK})
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
endfunction()

# kor_program(name DIR folder... LINK targets...): an executable of all sources in the folders.
function(kor_program name)
    cmake_parse_arguments(P "" "" "DIR;LINK" ${ARGN})
    set(sources)
    foreach(dir IN LISTS P_DIR)
        file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE kor_flags ${P_LINK})
endfunction()
