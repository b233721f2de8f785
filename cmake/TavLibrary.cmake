# One library of this project: its folder holds include/ and src/, its alias is tavcore::NAME.
#
#   tav_library(NAME [INTERFACE|STATIC] [EXPORT_NAME name] [SOURCES file...] [LINKS target...] [PRIVATE_LINKS target...]
#     [INCLUDE dir])
#
# STATIC: never shared. EXPORT_NAME: what users call it, tavcore::EXPORT_NAME, when that is not NAME.
# Include rules between libraries follow from LINKS: a header that is not linked is not found.
function(tav_library name)
  set(exports_of_shared_libraries "${PROJECT_SOURCE_DIR}/cmake/exports.map")
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERFACE;STATIC" "INCLUDE;EXPORT_NAME" "SOURCES;LINKS;PRIVATE_LINKS")
  if(NOT arg_INCLUDE)
    set(arg_INCLUDE "${CMAKE_CURRENT_SOURCE_DIR}/include")
  endif()
  if(arg_INTERFACE)
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  else()
    if(arg_STATIC)
      add_library(${name} STATIC ${arg_SOURCES})
    else()
      add_library(${name} ${arg_SOURCES})
    endif()
    set(scope PUBLIC)
    set_target_properties(${name} PROPERTIES
      CXX_EXTENSIONS OFF
      CXX_VISIBILITY_PRESET hidden  # what bears NKR_EXPORT is the interface
      VISIBILITY_INLINES_HIDDEN ON
      LINK_DEPENDS "${exports_of_shared_libraries}"
      POSITION_INDEPENDENT_CODE ON
      DEFINE_SYMBOL ""  # nothing depends on it: static and shared objects are the same
      INSTALL_RPATH "$ORIGIN"
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR})
    target_link_options(${name} PRIVATE "LINKER:--version-script=${exports_of_shared_libraries}")
    target_link_libraries(${name} PRIVATE ${arg_PRIVATE_LINKS})
  endif()
  if(NOT arg_EXPORT_NAME)
    set(arg_EXPORT_NAME ${name})
  endif()
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${arg_EXPORT_NAME})
  add_library(tavcore::${arg_EXPORT_NAME} ALIAS ${name})
  target_compile_features(${name} ${scope} cxx_std_17)
  target_include_directories(${name} ${scope}
    "$<BUILD_INTERFACE:${arg_INCLUDE}>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_link_libraries(${name} ${scope} ${arg_LINKS})
  install(TARGETS ${name} EXPORT tavcoreTargets)
  install(DIRECTORY "${arg_INCLUDE}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
endfunction()

# The package files by which find_package(tavcore) finds what was installed.
function(tav_install_package)
  include(CMakePackageConfigHelpers)
  set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/tavcore")
  install(EXPORT tavcoreTargets NAMESPACE tavcore:: DESTINATION "${destination}")
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/tavcoreConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/tavcoreConfig.cmake"
    INSTALL_DESTINATION "${destination}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/tavcoreConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
  install(FILES
    "${PROJECT_BINARY_DIR}/tavcoreConfig.cmake"
    "${PROJECT_BINARY_DIR}/tavcoreConfigVersion.cmake"
    DESTINATION "${destination}")
  tav_pkg_config(tavcore
    DESCRIPTION "${PROJECT_DESCRIPTION}"
    LIBRARIES tavcore nkr-tools nkr-codec nkrLog nkr-error)
  tav_pkg_config(nkr-canopen
    DESCRIPTION "CANopen client and CAN buses for Linux"
    LIBRARIES nkr-canopen nkr-can nkr-error)
  tav_pkg_config(tav-host
    DESCRIPTION "What a program does with a drive: enable, turn, stop, explain"
    LIBRARIES tav-host tavcore nkr-canopen nkr-can nkr-tools nkr-codec nkrLog nkr-error)
  if(TARGET tav-drive)
    tav_pkg_config(tav-drive
      DESCRIPTION "Virtual drive on a CAN bus"
      LIBRARIES tav-drive nkr-tools nkr-can nkr-error)
  endif()
endfunction()

# What pkg-config tells: tav_pkg_config(NAME DESCRIPTION text LIBRARIES name...). Relative to its own place, so
# an installed tree may be moved.
function(tav_pkg_config name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "LIBRARIES")
  set(destination "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  file(RELATIVE_PATH prefix_from_here "/prefix/${destination}" "/prefix")
  list(TRANSFORM arg_LIBRARIES PREPEND "-l")
  list(JOIN arg_LIBRARIES " " libs)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/package.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${destination}")
endfunction()
