# Settings that every target shares, and the functions that define targets from source folders.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)

# Repeated builds of the same sources cost little where a compiler cache is installed, also in another
# folder. Precompiled headers need the cache to look past the time stamps in them.
find_program(CCACHE_PROGRAM ccache)
mark_as_advanced(CCACHE_PROGRAM)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
endif()

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

# An installed library finds its siblings beside it, an installed program finds them from bin/.
file(RELATIVE_PATH veltrixLibFromBin
     ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set(CMAKE_INSTALL_RPATH $ORIGIN $ORIGIN/${veltrixLibFromBin})

# The version is written in one place, the project() call; this header repeats it.
set(veltrixGeneratedHeaders ${PROJECT_BINARY_DIR}/include)
configure_file(${PROJECT_SOURCE_DIR}/cmake/Version.h.in
               ${veltrixGeneratedHeaders}/Veltrix/Version.h @ONLY)

# Build-only usage requirements: the private headers and the warnings.
add_library(VeltrixOptions INTERFACE)
target_include_directories(VeltrixOptions INTERFACE ${PROJECT_SOURCE_DIR}
                                                    ${PROJECT_SOURCE_DIR}/include
                                                    ${veltrixGeneratedHeaders})
target_compile_options(VeltrixOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Woverloaded-virtual
    # g++ 12 sees overlapping copies in "text" + std::string where there are none.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${VELTRIX_WERROR}>:-Werror>)

# Sources of a folder; new files are picked up by the next build.
function(veltrix_sources result)
    set(sources)
    foreach(folder IN LISTS ARGN)
        file(GLOB_RECURSE found CONFIGURE_DEPENDS ${folder}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    # Kernels with a copy for wider vectors; which one runs is chosen on the machine itself.
    set(wide ${sources})
    list(FILTER wide INCLUDE REGEX "Avx2\\.cpp$")
    if(wide AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
        set_source_files_properties(${wide} PROPERTIES COMPILE_OPTIONS "-mavx2;-mfma")
    endif()
    # Kernels whose results are those of their formula on every machine round each operation.
    set(literal ${sources})
    list(FILTER literal INCLUDE REGEX "/LinkageUpdates[A-Za-z0-9]*\\.cpp$")
    set_property(SOURCE ${literal} APPEND PROPERTY COMPILE_OPTIONS "-ffp-contract=off")
    set(${result} ${sources} PARENT_SCOPE)
endfunction()

# Links those of the named targets that this configuration has.
function(veltrix_link target scope)
    foreach(library IN LISTS ARGN)
        if(TARGET ${library})
            target_link_libraries(${target} ${scope} ${library})
        endif()
    endforeach()
endfunction()

# veltrix_add_shared(name API mark FOLDERS folder... PUBLIC target... PRIVATE target...)
# What the library marks with VELTRIX_<mark>_API it exports; other libraries import it.
function(veltrix_add_shared name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "API" "FOLDERS;PUBLIC;PRIVATE")
    if(NOT arg_API)
        message(FATAL_ERROR "${name}: no API mark")
    endif()
    veltrix_sources(sources ${arg_FOLDERS})
    if(NOT sources)
        message(STATUS "${name}: no sources, left out")
        return()
    endif()
    add_library(${name} SHARED ${sources})
    add_library(Veltrix::${name} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        DEFINE_SYMBOL VELTRIX_BUILDING_${arg_API})
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
        $<BUILD_INTERFACE:${veltrixGeneratedHeaders}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    veltrix_link(${name} PUBLIC ${arg_PUBLIC})
    veltrix_link(${name} PRIVATE VeltrixOptions ${arg_PRIVATE})
    target_link_options(${name} PRIVATE LINKER:--exclude-libs,ALL)
    if(VELTRIX_STRICT_LINK)
        target_link_options(${name} PRIVATE LINKER:--no-undefined)
    endif()
    set_property(GLOBAL APPEND PROPERTY VELTRIX_LIBRARIES ${name})
endfunction()

# veltrix_add_program(name source... LINK target...): a program over the whole library.
function(veltrix_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    veltrix_link(${name} PRIVATE VeltrixOptions VtxData Evaluator VeltrixEngine ${arg_LINK})
    if(NOT VELTRIX_STRICT_LINK)
        target_link_options(${name} PRIVATE LINKER:--unresolved-symbols=ignore-in-shared-libs)
    endif()
endfunction()
