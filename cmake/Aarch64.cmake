# Builds the plug-in for 64-bit ARM on another machine, with Debian's cross compiler and libraries:
#   dpkg --add-architecture arm64 && apt-get update
#   apt-get install g++-aarch64-linux-gnu zlib1g-dev:arm64 libhwy-dev:arm64 libpugixml-dev:arm64 libsndfile1-dev:arm64
#   Tools/build release                                         # the programs that the build itself runs
#   cmake --preset release -B build/aarch64 --toolchain cmake/Aarch64.cmake -DMORVA_HOST_TOOLS=build/release \
#       -DMORVA_BUILD_TESTS=OFF -DMORVA_BUILD_BENCHMARKS=OFF
#   cmake --build build/aarch64 --target MorvaEQ_vst3
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
