# One library of this project: its folder holds include/ and src/, its alias is tavcore::NAME.
#
#   tav_library(NAME [INTERFACE|STATIC] [EXPORT_NAME name] [DESCRIPTION text] [SOURCES file...] [LINKS target...]
#     [PRIVATE_LINKS target...] [INCLUDE dir])
#
# STATIC: never shared. EXPORT_NAME: what users call it, tavcore::EXPORT_NAME, when that is not NAME. DESCRIPTION: one
# line for pkg-config. Include rules between libraries follow from LINKS: a header that is not linked is not found.
function(tav_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERFACE;STATIC" "INCLUDE;EXPORT_NAME;DESCRIPTION" "SOURCES;LINKS;PRIVATE_LINKS")
  if(NOT arg_INCLUDE)
    set(arg_INCLUDE "${CMAKE_CURRENT_SOURCE_DIR}/include")
  endif()
  if(NOT arg_EXPORT_NAME)
    set(arg_EXPORT_NAME ${name})
  endif()
  if(arg_INTERFACE)
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  elseif(arg_STATIC)
    add_library(${name} STATIC ${arg_SOURCES})
    set(scope PUBLIC)
  else()
    add_library(${name} ${arg_SOURCES})
    set(scope PUBLIC)
  endif()
  if(NOT arg_INTERFACE)
    tav_object_rules(${name})
    target_precompile_headers(${name} REUSE_FROM tavcore-standard-headers)
    target_link_libraries(${name} PRIVATE ${arg_PRIVATE_LINKS} ${tav_atomic_library})
  endif()
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${arg_EXPORT_NAME})
  add_library(tavcore::${arg_EXPORT_NAME} ALIAS ${name})
  target_compile_features(${name} ${scope} cxx_std_17)
  target_include_directories(${name} ${scope} "$<BUILD_INTERFACE:${arg_INCLUDE}>")
  target_link_libraries(${name} ${scope} ${arg_LINKS})
  if(TAV_INSTALL)
    tav_install_library(${name} "${arg_INCLUDE}")
    tav_pkg_config(${name}
      DESCRIPTION "${arg_DESCRIPTION}" REQUIRES ${arg_LINKS} PRIVATE_REQUIRES ${arg_PRIVATE_LINKS})
  endif()
endfunction()

# Some 32-bit processors count 64 bits in a library of the compiler's.
set(tav_atomic_library "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  include(CheckCXXSourceCompiles)
  check_cxx_source_compiles("
    #include <atomic>
    #include <cstdint>
    int main() { static std::atomic<std::uint64_t> count{0}; return static_cast<int>(count.fetch_add(1)); }"
    TAV_COUNTS_64_BITS)
  if(NOT TAV_COUNTS_64_BITS)
    set(tav_atomic_library atomic)
  endif()
endif()

# How a library is compiled and, where it is shared, linked. Static and shared objects are the same.
function(tav_object_rules name)
  # While the major number is 0 a new minor number may break the interface.
  set(soversion ${PROJECT_VERSION_MAJOR})
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  endif()
  set_target_properties(${name} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden  # what bears NKR_EXPORT is the interface
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    DEFINE_SYMBOL ""
    LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map"
    INSTALL_RPATH "$ORIGIN"
    VERSION ${PROJECT_VERSION}
    SOVERSION ${soversion})
  get_target_property(type ${name} TYPE)
  if(type STREQUAL SHARED_LIBRARY)
    target_link_options(${name} PRIVATE "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
  endif()
endfunction()
