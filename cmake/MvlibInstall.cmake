# What an installed copy holds: libraries, modules and programs where the loader looks, headers below include/mvlib62
# and include/mvafx62, and a package for find_package(mvlib62).
include(CMakePackageConfigHelpers)

if(WIN32)
  # One folder, as the Windows loader looks beside the program.
  set(MVLIB_INSTALL_MODULES ${CMAKE_INSTALL_BINDIR})
else()
  set(MVLIB_INSTALL_MODULES ${CMAKE_INSTALL_LIBDIR})
endif()

# mvlib_install_modules(<target>...): modules that the libraries load by name lie beside them.
function(mvlib_install_modules)
  install(TARGETS ${ARGN} LIBRARY DESTINATION ${MVLIB_INSTALL_MODULES} RUNTIME DESTINATION ${MVLIB_INSTALL_MODULES})
endfunction()

# mvlib_install_programs(<target>...)
function(mvlib_install_programs)
  install(TARGETS ${ARGN} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# mvlib_install_package(): the two libraries, every header and the package files.
function(mvlib_install_package)
  install(
    TARGETS mvafx62 mvlib62
    EXPORT mvlib62Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  if(MVLIB_RUNTIME_DLLS)
    install(FILES ${MVLIB_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()

  install(
    DIRECTORY include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mvlib62
    COMPONENT headers
    FILES_MATCHING
    PATTERN "*.h"
    PATTERN windows EXCLUDE)
  if(WIN32)
    install(
      DIRECTORY ${MVLIB_WINDOWS_HEADERS}/
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/mvlib62
      COMPONENT headers
      FILES_MATCHING
      PATTERN "*.h")
  endif()
  set(framework_headers ${CMAKE_INSTALL_INCLUDEDIR}/mvafx62)
  install(
    DIRECTORY framework/
    DESTINATION ${framework_headers}
    COMPONENT headers
    FILES_MATCHING
    PATTERN "afx*.h"
    PATTERN "atl*.h"
    PATTERN "cstringt.h"
    PATTERN win32 EXCLUDE
    PATTERN posix EXCLUDE)
  install(
    DIRECTORY framework/${MVAFX_TARGET_FOLDER}/
    DESTINATION ${framework_headers}
    COMPONENT headers
    FILES_MATCHING PATTERN "afx*.h")
  install(FILES platform/ddelib.h platform/event_view.h platform/win32.h platform/mvafx_export.h DESTINATION ${framework_headers} COMPONENT headers)
  if(NOT WIN32)
    install(
      DIRECTORY platform/posix
      DESTINATION ${framework_headers}
      COMPONENT headers
      FILES_MATCHING PATTERN "*.h" PATTERN internal EXCLUDE)
  endif()

  set(package ${CMAKE_INSTALL_LIBDIR}/cmake/mvlib62)
  install(EXPORT mvlib62Targets NAMESPACE mvlib62:: DESTINATION ${package})
  configure_package_config_file(cmake/mvlib62Config.cmake.in mvlib62Config.cmake INSTALL_DESTINATION ${package})
  write_basic_package_version_file(mvlib62ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/mvlib62Config.cmake ${PROJECT_BINARY_DIR}/mvlib62ConfigVersion.cmake
          DESTINATION ${package})
endfunction()
