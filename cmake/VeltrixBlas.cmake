# Chooses the linear algebra back end and defines Veltrix::LinearAlgebraBackend, which carries the
# headers, the libraries and one of the definitions VELTRIX_BLAS_MKL and VELTRIX_BLAS_OPENBLAS.

set(veltrixBlasChoices auto MKL OpenBLAS)
if(NOT VELTRIX_BLAS IN_LIST veltrixBlasChoices)
    message(FATAL_ERROR "VELTRIX_BLAS is \"${VELTRIX_BLAS}\"; expected auto, MKL or OpenBLAS")
endif()

set(veltrixBlas ${VELTRIX_BLAS})
if(NOT veltrixBlas STREQUAL "OpenBLAS")
    find_path(MKL_INCLUDE_DIR mkl.h PATH_SUFFIXES mkl)
    find_library(MKL_RT_LIBRARY mkl_rt)
    mark_as_advanced(MKL_INCLUDE_DIR MKL_RT_LIBRARY)
    if(MKL_INCLUDE_DIR AND MKL_RT_LIBRARY)
        set(veltrixBlas MKL)
    elseif(veltrixBlas STREQUAL "MKL")
        message(FATAL_ERROR "VELTRIX_BLAS=MKL: mkl.h or mkl_rt not found "
                            "(scripts/bootstrap.sh --with-mkl installs them)")
    else()
        set(veltrixBlas OpenBLAS)
    endif()
endif()
message(STATUS "Linear algebra back end: ${veltrixBlas}")

add_library(LinearAlgebraBackend INTERFACE)
add_library(Veltrix::LinearAlgebraBackend ALIAS LinearAlgebraBackend)

if(veltrixBlas STREQUAL "MKL")
    # The sequential archives are linked into the libraries. MKL's shared objects load their kernels
    # and an OpenMP runtime by themselves and end the process when symbols are missing, which
    # happens in every host that loads these libraries as a plug-in with local symbols.
    find_package(Threads REQUIRED)
    set(veltrixMklArchives)
    foreach(part IN ITEMS intel_lp64 sequential core)
        find_library(MKL_${part}_ARCHIVE libmkl_${part}.a)
        mark_as_advanced(MKL_${part}_ARCHIVE)
        if(NOT MKL_${part}_ARCHIVE)
            message(FATAL_ERROR "MKL is installed without libmkl_${part}.a; "
                                "install it, or choose VELTRIX_BLAS=OpenBLAS")
        endif()
        list(APPEND veltrixMklArchives ${MKL_${part}_ARCHIVE})
    endforeach()
    list(JOIN veltrixMklArchives "," veltrixMklArchives)
    target_compile_definitions(LinearAlgebraBackend INTERFACE VELTRIX_BLAS_MKL)
    target_include_directories(LinearAlgebraBackend SYSTEM INTERFACE ${MKL_INCLUDE_DIR})
    target_link_libraries(LinearAlgebraBackend INTERFACE
        $<LINK_GROUP:RESCAN,${veltrixMklArchives}> Threads::Threads m ${CMAKE_DL_LIBS})
else()
    # The vendor is named: a search for any BLAS would take whatever comes first on the machine.
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(OPENBLAS REQUIRED IMPORTED_TARGET openblas)
    pkg_check_modules(LAPACKE REQUIRED IMPORTED_TARGET lapacke)
    pkg_check_modules(SLEEF REQUIRED IMPORTED_TARGET sleef)
    target_compile_definitions(LinearAlgebraBackend INTERFACE VELTRIX_BLAS_OPENBLAS)
    target_link_libraries(LinearAlgebraBackend INTERFACE
        PkgConfig::LAPACKE PkgConfig::OPENBLAS PkgConfig::SLEEF)
endif()
