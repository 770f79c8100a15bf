# How the shared libraries are installed: what other programs need to build with them, found by pkg-config and CMake.
include(CMakePackageConfigHelpers)

# pkg-config finds everything from where its own file lies, so that an installed tree may be moved.
set(path_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${path_from_pkgconfig}
  OUTPUT_VARIABLE MSG_CONSUMER_PREFIX_FROM_PKGCONFIG)

# Installs `targets`, whose public headers are their file set HEADERS, as the package `name`; `name`.pc.in and
# `name`-config.cmake.in tell the rest.
function(msg_consumer_install_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "TARGETS")
  set(cmake_directory ${CMAKE_INSTALL_LIBDIR}/cmake/${name})

  foreach(target IN LISTS arg_TARGETS)
    string(REPLACE msg-consumer- "" short_name ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${short_name})
    add_library(msg-consumer::${short_name} ALIAS ${target})
  endforeach()
  install(TARGETS ${arg_TARGETS} EXPORT ${name}-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${name}-targets NAMESPACE msg-consumer:: DESTINATION ${cmake_directory})

  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${name}-config.cmake.in ${name}-config.cmake
    INSTALL_DESTINATION ${cmake_directory} NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/${name}-config-version.cmake
    COMPATIBILITY SameMajorVersion)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/${name}-config-version.cmake
    DESTINATION ${cmake_directory})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
