# Install tree: headers, libraries, program, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY VELTRIX_LIBRARIES)
if(NOT libraries)
    return()
endif()

# The umbrella: everything at once.
add_library(Veltrix INTERFACE)
add_library(Veltrix::Veltrix ALIAS Veltrix)
target_link_libraries(Veltrix INTERFACE ${libraries})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/Veltrix
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${veltrixGeneratedHeaders}/Veltrix/Version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Veltrix)
install(TARGETS ${libraries} Veltrix EXPORT VeltrixTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET veltrix)
    install(TARGETS veltrix RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/Veltrix)
install(EXPORT VeltrixTargets NAMESPACE Veltrix:: DESTINATION ${packageDir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VeltrixConfig.cmake.in
    ${PROJECT_BINARY_DIR}/VeltrixConfig.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VeltrixConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VeltrixConfig.cmake
              ${PROJECT_BINARY_DIR}/VeltrixConfigVersion.cmake
        DESTINATION ${packageDir})

# The prefix is found from the file's own place, so that the tree may be moved.
file(RELATIVE_PATH prefixFromPkgconfig
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
list(REVERSE libraries)
list(TRANSFORM libraries PREPEND -l OUTPUT_VARIABLE linkFlags)
list(JOIN linkFlags " " linkFlags)
configure_file(${PROJECT_SOURCE_DIR}/cmake/veltrix.pc.in ${PROJECT_BINARY_DIR}/veltrix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/veltrix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
