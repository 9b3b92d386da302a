# The fuzz targets, as programs for libFuzzer (CMakeLists.txt) and as tests that replay inputs (tests/CMakeLists.txt).
set(kelvane_fuzz_folder ${CMAKE_CURRENT_LIST_DIR})
set(kelvane_fuzz_targets diagram document recording sweep text textform)
if(TARGET kelvane_files)
    list(APPEND kelvane_fuzz_targets conversion)
endif()

if(NOT TARGET kelvane_fuzz_support)
    add_library(kelvane_fuzz_support OBJECT EXCLUDE_FROM_ALL
        ${kelvane_fuzz_folder}/AnyDiagram.cpp ${PROJECT_SOURCE_DIR}/tests/support/NormalisedDiagram.cpp
        ${PROJECT_SOURCE_DIR}/tests/support/PlainEngine.cpp)
    target_include_directories(kelvane_fuzz_support PUBLIC ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(kelvane_fuzz_support PUBLIC KelvaneSDK PRIVATE kelvane_warnings)
endif()

# A program out of a target's source and further ones.
function(kelvane_add_fuzz_program program name)
    add_executable(${program} ${kelvane_fuzz_folder}/${name}.cpp ${ARGN})
    target_link_libraries(${program} PRIVATE kelvane_fuzz_support kelvane_warnings $<$<STREQUAL:${name},conversion>:kelvane_files>)
endfunction()
