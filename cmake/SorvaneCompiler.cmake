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

function(sorvane_target_defaults target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
    if(SORVANE_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_USE_QSTRINGBUILDER)
    if(SORVANE_PRECOMPILED_HEADERS)
        # Qt's (and in tests GoogleTest's) headers are most of what every file compiles; parsing
        # them once per target roughly halves a clean build on a small machine.
        target_precompile_headers(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/Precompiled.h)
    endif()
endfunction()

# Programs that are copied into every generated bundle: stripped outside debug and sanitizer
# builds, since each creation copies them (their debug information is twenty times their code).
function(sorvane_shipped_program target)
    if(NOT APPLE AND NOT SORVANE_SANITIZE)
        target_link_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-s>)
    endif()
endfunction()
