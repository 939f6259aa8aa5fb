include(CMakePackageConfigHelpers)

install(TARGETS framquist EXPORT FramquistTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Public headers keep their folders; kernel internals stay private.
install(FILES framquist.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/framquist)
foreach(dir IN LISTS FRAMQUIST_SUBSYSTEMS)
  if(EXISTS "${PROJECT_SOURCE_DIR}/${dir}")
    install(DIRECTORY ${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/framquist/${dir}
            FILES_MATCHING PATTERN "*.h" PATTERN "kernels" EXCLUDE)
  endif()
endforeach()

install(EXPORT FramquistTargets NAMESPACE Framquist:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Framquist)
configure_package_config_file(cmake/FramquistConfig.cmake.in ${PROJECT_BINARY_DIR}/FramquistConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Framquist)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FramquistConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FramquistConfig.cmake ${PROJECT_BINARY_DIR}/FramquistConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Framquist)

configure_file(cmake/framquist.pc.in ${PROJECT_BINARY_DIR}/framquist.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/framquist.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
