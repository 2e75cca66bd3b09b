# `lint`: clang-tidy over every source of ours, a file at a time, as many at once as there are cores. Uses the compile
# commands of the preset that it is built in, so build once before (generated headers). `Tools/install-deps lint` brings
# the programs.

find_program(MORVA_CLANG_TIDY NAMES clang-tidy-14 clang-tidy)
find_program(MORVA_RUN_CLANG_TIDY NAMES run-clang-tidy-14 run-clang-tidy)
find_program(MORVA_CLANG_FORMAT NAMES clang-format-14 clang-format)
mark_as_advanced(MORVA_CLANG_TIDY MORVA_RUN_CLANG_TIDY MORVA_CLANG_FORMAT)

if(MORVA_CLANG_TIDY AND MORVA_RUN_CLANG_TIDY)
    add_custom_target(lint
        COMMAND ${MORVA_RUN_CLANG_TIDY} -quiet -clang-tidy-binary ${MORVA_CLANG_TIDY} -p ${CMAKE_BINARY_DIR}
                "${PROJECT_SOURCE_DIR}/(Sources|Tools|Tests|Benchmarks)/"
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} USES_TERMINAL VERBATIM
        COMMENT "Checking the code with clang-tidy")
else()
    add_custom_target(lint
        COMMAND ${CMAKE_COMMAND} -E echo "clang-tidy is missing: run Tools/install-deps lint, then configure again"
        COMMAND ${CMAKE_COMMAND} -E false VERBATIM)
endif()

if(MORVA_CLANG_FORMAT)
    # Rewrites the layout of the files that differ from the last commit, and of nothing else.
    add_custom_target(format
        COMMAND sh -c "git diff --name-only --diff-filter=d HEAD -- '*.cpp' '*.h' | xargs -r ${MORVA_CLANG_FORMAT} -i"
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM COMMENT "Laying out changed files")
endif()
