# The libraries as installed; TAVCORE_KIND is static or shared. What is not there is not found.
find_package(tavcore QUIET COMPONENTS ${TAVCORE_KIND} no-such-library)
if(tavcore_FOUND)
  message(SEND_ERROR "A library that does not exist was found")
endif()
find_package(tavcore REQUIRED COMPONENTS ${TAVCORE_KIND} tavcore nkr-canopen tav-host tav-drive testing testing-log)

get_target_property(type tavcore::tavcore TYPE)
string(TOUPPER ${TAVCORE_KIND}_LIBRARY wanted)
if(NOT type STREQUAL wanted)
  message(SEND_ERROR "tavcore::tavcore is a ${type}, not a ${wanted}")
endif()

# While the major number is 0 another minor number is another interface.
math(EXPR next_minor "${tavcore_VERSION_MINOR} + 1")
foreach(version ${tavcore_VERSION_MAJOR}.${next_minor} 99.0)
  find_package(tavcore ${version} QUIET COMPONENTS ${TAVCORE_KIND})
  if(tavcore_FOUND)
    message(SEND_ERROR "Version ${tavcore_VERSION} passes for ${version}")
  endif()
endforeach()
find_package(tavcore REQUIRED COMPONENTS ${TAVCORE_KIND})
