# Refuses sources that nobody builds: a file beside the lists, or a folder that no list looks into.

# The targets of a directory and of those below it.
function(gpon_targets_below DIRECTORY RESULT)
  get_property(targets DIRECTORY ${DIRECTORY} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(directories DIRECTORY ${DIRECTORY} PROPERTY SUBDIRECTORIES)
  foreach(directory IN LISTS directories)
    gpon_targets_below(${directory} below)
    list(APPEND targets ${below})
  endforeach()
  set(${RESULT} ${targets} PARENT_SCOPE)
endfunction()

# Ends the configuration when a .cpp anywhere below one of the folders belongs to no target. To be called behind
# everything that makes targets.
#   gpon_refuse_stray_sources(lib hal)
function(gpon_refuse_stray_sources)
  list(TRANSFORM ARGN PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE patterns)
  list(TRANSFORM patterns APPEND /*.cpp)
  file(GLOB_RECURSE stray CONFIGURE_DEPENDS ${patterns})
  gpon_targets_below(${CMAKE_SOURCE_DIR} targets)
  foreach(target IN LISTS targets)
    get_target_property(place ${target} SOURCE_DIR)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
      get_filename_component(source "${source}" ABSOLUTE BASE_DIR ${place})
      list(REMOVE_ITEM stray ${source})
    endforeach()
  endforeach()
  if(stray)
    list(JOIN stray "\n  " stray)
    message(FATAL_ERROR "No target takes:\n  ${stray}")
  endif()
endfunction()
