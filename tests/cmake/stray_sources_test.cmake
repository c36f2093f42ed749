# A source that no target takes ends the configuration, wherever below the folders it lies.
#   cmake -D MODULE=.../GponSources.cmake -D PLACE=<scratch directory> -P stray_sources_test.cmake
set(project ${PLACE}/project)
file(REMOVE_RECURSE ${PLACE})
file(WRITE ${project}/CMakeLists.txt "cmake_minimum_required(VERSION 3.22)\nproject(strays LANGUAGES NONE)
add_subdirectory(lib)\nadd_custom_target(above SOURCES hal/frame.cpp)\ninclude(${MODULE})
gpon_refuse_stray_sources(lib hal)\n")
file(WRITE ${project}/lib/CMakeLists.txt "add_custom_target(text SOURCES text.cpp room/row.cpp)\n")
foreach(taken lib/text.cpp lib/room/row.cpp hal/frame.cpp)
  file(WRITE ${project}/${taken} "")
endforeach()
file(WRITE ${project}/docs/example.cpp "") # not below the folders

function(configure EXPECTED)
  execute_process(COMMAND ${CMAKE_COMMAND} -S ${project} -B ${PLACE}/build RESULT_VARIABLE result
                  OUTPUT_QUIET ERROR_VARIABLE error)
  if(EXPECTED STREQUAL "")
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "Refused without a stray source:\n${error}")
    endif()
  elseif(result EQUAL 0 OR NOT error MATCHES "No target takes:[^:]*${EXPECTED}\n")
    message(FATAL_ERROR "${EXPECTED} wasn't refused: ${result}\n${error}")
  endif()
endfunction()

configure("")
foreach(stray lib/words.cpp lib/room/words.cpp lib/stray_folder/words.cpp hal/deep/below/words.cpp)
  file(WRITE ${project}/${stray} "")
  configure(${stray})
  file(REMOVE ${project}/${stray})
endforeach()
configure("")
