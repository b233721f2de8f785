# What is installed, where, and how others find it. Two components: runtime (shared libraries, programs, the drive's
# description) and development (all else). A static and a shared build may be installed into one prefix.

if(BUILD_SHARED_LIBS)
  set(tav_kind shared)
else()
  set(tav_kind static)
endif()

function(tav_install_library name include)
  target_include_directories(${name} INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  install(TARGETS ${name} EXPORT tavcore-${tav_kind}-targets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    RUNTIME COMPONENT runtime)
  install(DIRECTORY "${include}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)
endfunction()

function(tav_install_program name)
  if(TAV_INSTALL)
    install(TARGETS ${name} RUNTIME COMPONENT runtime)
  endif()
endfunction()

# The package files by which find_package(tavcore) finds what was installed.
function(tav_install_package)
  include(CMakePackageConfigHelpers)
  set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/tavcore")
  install(EXPORT tavcore-${tav_kind}-targets NAMESPACE tavcore:: DESTINATION "${destination}" COMPONENT development)
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/tavcoreConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/tavcoreConfig.cmake"
    INSTALL_DESTINATION "${destination}")
  set(compatibility SameMajorVersion)
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
  endif()
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/tavcoreConfigVersion.cmake" COMPATIBILITY ${compatibility})
  install(FILES
    "${PROJECT_BINARY_DIR}/tavcoreConfig.cmake"
    "${PROJECT_BINARY_DIR}/tavcoreConfigVersion.cmake"
    DESTINATION "${destination}" COMPONENT development)
endfunction()

# What pkg-config tells of a library: tav_pkg_config(NAME DESCRIPTION text REQUIRES name... PRIVATE_REQUIRES name...).
# Relative to its own place where the library folder is, so that an installed tree may be moved.
function(tav_pkg_config name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "REQUIRES;PRIVATE_REQUIRES")
  set(destination "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(prefix "${CMAKE_INSTALL_PREFIX}")
    set(libdir "${CMAKE_INSTALL_LIBDIR}")
  else()
    file(RELATIVE_PATH prefix "/prefix/${destination}" "/prefix")
    string(PREPEND prefix "\${pcfiledir}/")
    set(libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  endif()
  set(includedir "${CMAKE_INSTALL_INCLUDEDIR}")
  if(NOT IS_ABSOLUTE "${includedir}")
    string(PREPEND includedir "\${prefix}/")
  endif()
  set(system_libraries)
  if("Threads::Threads" IN_LIST arg_PRIVATE_REQUIRES)
    list(REMOVE_ITEM arg_PRIVATE_REQUIRES Threads::Threads)
    set(system_libraries "-pthread")
  endif()
  if(tav_atomic_library)
    string(APPEND system_libraries " -l${tav_atomic_library}")
  endif()
  list(JOIN arg_REQUIRES " " requires)
  list(JOIN arg_PRIVATE_REQUIRES " " private_requires)
  set(libs)
  get_target_property(type ${name} TYPE)
  if(NOT type STREQUAL INTERFACE_LIBRARY)
    set(libs "-L\${libdir} -l${name}")
  endif()
  if(NOT arg_DESCRIPTION)
    set(arg_DESCRIPTION "${name} of ${PROJECT_NAME}: ${PROJECT_DESCRIPTION}")
  endif()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/package.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${destination}" COMPONENT development)
endfunction()
