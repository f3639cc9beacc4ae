# Compiler settings for Sorvane's own targets. Third-party headers come in as system includes
# through their imported targets, so -Werror applies to our code only.

if(SORVANE_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()

# A compiler launcher (ccache) caches whole files and cannot use a precompiled header, so the
# headers are precompiled only when nothing caches the build (a clean CI machine).
if(CMAKE_CXX_COMPILER_LAUNCHER OR "$ENV{CMAKE_CXX_COMPILER_LAUNCHER}")
    set(_sorvane_pch_default OFF)
else()
    set(_sorvane_pch_default ON)
endif()
option(SORVANE_PRECOMPILED_HEADERS "Precompile the Qt headers of each target" ${_sorvane_pch_default})

function(_sorvane_warnings_and_definitions target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
    if(SORVANE_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_USE_QSTRINGBUILDER)
endfunction()

# The target whose precompiled header every target of one set reuses: "qt" for Sorvane's code,
# "tests" for test programs (GoogleTest's headers too). Qt's and GoogleTest's headers are most of
# what every file compiles; parsing them once per build rather than once per target saves about a
# quarter of a clean build on a small machine. A reusing target must compile with the same flags
# as its donor: CMake passes -Winvalid-pch, so under -Werror a mismatch fails the build.
function(_sorvane_precompiled_donor set out)
    set(donor sorvane_precompiled_${set})
    if(NOT TARGET ${donor})
        add_library(${donor} STATIC ${PROJECT_SOURCE_DIR}/cmake/Precompiled.cpp)
        target_link_libraries(${donor} PRIVATE Qt6::Core)
        if(set STREQUAL "tests")
            target_link_libraries(${donor} PRIVATE GTest::gtest)
            target_compile_definitions(${donor} PRIVATE SORVANE_PRECOMPILE_GTEST)
        endif()
        set_target_properties(${donor} PROPERTIES AUTOMOC OFF)
        _sorvane_warnings_and_definitions(${donor})
        target_precompile_headers(${donor} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/Precompiled.h)
    endif()
    set(${out} ${donor} PARENT_SCOPE)
endfunction()

# sorvane_target_defaults(<target> [PLAIN]): warnings, definitions and the shared precompiled
# header. PLAIN marks plain C++ without Qt (the small programs copied into bundles), which gets no
# precompiled header. Targets under tests/ reuse the test programs' header (SORVANE_PRECOMPILED_SET).
function(sorvane_target_defaults target)
    cmake_parse_arguments(ARG "PLAIN" "" "" ${ARGN})
    _sorvane_warnings_and_definitions(${target})
    if(SORVANE_PRECOMPILED_HEADERS AND NOT ARG_PLAIN)
        if(SORVANE_PRECOMPILED_SET STREQUAL "tests")
            target_link_libraries(${target} PRIVATE GTest::gtest)
            target_compile_definitions(${target} PRIVATE SORVANE_PRECOMPILE_GTEST)
            _sorvane_precompiled_donor(tests donor)
        else()
            _sorvane_precompiled_donor(qt donor)
        endif()
        target_precompile_headers(${target} REUSE_FROM ${donor})
    endif()
endfunction()

# Programs that are copied into every generated bundle: stripped outside debug and sanitizer
# builds, since each creation copies them (their debug information is twenty times their code).
function(sorvane_shipped_program target)
    if(NOT APPLE AND NOT SORVANE_SANITIZE)
        target_link_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-s>)
    endif()
endfunction()
