# Compiles every public header by itself, twice over, so that each is complete and guarded.

file(GLOB_RECURSE headers RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
     ${PROJECT_SOURCE_DIR}/include/*.h)
list(APPEND headers Veltrix/Version.h)
set(sources)
foreach(header IN LISTS headers)
    string(REPLACE "/" "_" name ${header})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} @ONLY
         CONTENT "#include <@header@>\n#include <@header@> // guarded\n")
    list(APPEND sources ${source})
endforeach()

add_library(HeadersAlone OBJECT ${sources})
target_compile_options(HeadersAlone PRIVATE
    $<TARGET_PROPERTY:VeltrixOptions,INTERFACE_COMPILE_OPTIONS>)
target_include_directories(HeadersAlone PRIVATE ${PROJECT_SOURCE_DIR}/include
                                                ${veltrixGeneratedHeaders})
