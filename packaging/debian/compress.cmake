# Compresses manual pages and change logs of the staged packages, reproducibly, as Debian has them.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*)
list(FILTER files INCLUDE REGEX "/man/man[0-9]/[^/]+[0-9]$|/changelog[.]Debian$")
foreach(file ${files})
  execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
