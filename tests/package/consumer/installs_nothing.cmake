# Installs BUILD, a project without files of its own to install, and looks that nothing came.
set(prefix "${BUILD}/installed")
file(REMOVE_RECURSE "${prefix}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}" COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE files "${prefix}/*")
if(files)
  message(FATAL_ERROR "Installed: ${files}")
endif()
