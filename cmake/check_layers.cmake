# Fails when a source file includes a header of a layer above its own.
#   cmake -DROOT=<folder holding src/> -P check_layers.cmake
# Two stacks are checked, lowest first: the folders of src/, and the layer folders of src/jet.
# A file may include headers of its own layer and of the layers below it, never above.
# Outside the engine, only its public interface (jet/api) is included; the engine's own
# command-line tool (app/jet) may use any layer.
if(NOT ROOT)
  message(FATAL_ERROR "ROOT not given")
endif()

set(program_layers os jet platform schema steps pipeline launcher sample app)
set(engine_layers base storage record btree table sql catalog db ddl exec tools api)

set(violations "")
file(GLOB_RECURSE files RELATIVE ${ROOT}/src ${ROOT}/src/*.h ${ROOT}/src/*.cpp)
foreach(file IN LISTS files)
  string(REPLACE "/" ";" parts "${file}")
  list(GET parts 0 top)
  list(FIND program_layers "${top}" own_top)
  set(own_engine -1)
  list(LENGTH parts depth)
  if(top STREQUAL "jet" AND depth GREATER 2)
    list(GET parts 1 engine_folder)
    list(FIND engine_layers "${engine_folder}" own_engine)
  endif()
  file(STRINGS ${ROOT}/src/${file} includes REGEX "^[ \t]*#[ \t]*include[ \t]+\"[^\"]+\"")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^[^\"]*\"([^\"]+)\".*$" "\\1" target "${line}")
    string(REPLACE "/" ";" target_parts "${target}")
    list(GET target_parts 0 target_top)
    list(FIND program_layers "${target_top}" other_top)
    if(own_top GREATER_EQUAL 0 AND other_top GREATER own_top)
      string(APPEND violations "  ${file} includes ${target} (${target_top} is above ${top})\n")
    endif()
    list(LENGTH target_parts target_depth)
    if(target_top STREQUAL "jet" AND NOT top STREQUAL "jet" AND NOT file MATCHES "^app/jet/"
       AND target_depth GREATER 2)
      list(GET target_parts 1 target_folder)
      if(NOT target_folder STREQUAL "api")
        string(APPEND violations "  ${file} includes ${target} (outside the engine, only jet/api)\n")
      endif()
    endif()
    if(own_engine GREATER_EQUAL 0 AND target_top STREQUAL "jet" AND target_depth GREATER 2)
      list(GET target_parts 1 target_folder)
      list(FIND engine_layers "${target_folder}" other_engine)
      if(other_engine GREATER own_engine)
        string(APPEND violations
          "  ${file} includes ${target} (jet/${target_folder} is above jet/${engine_folder})\n")
      endif()
    endif()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "Includes that point up the layers:\n${violations}")
endif()
message(STATUS "Layers respected in ${ROOT}/src")
