# cmake -DPROGRAM=... -DOUTPUT=... -P write_completion.cmake
# Writes a tool's bash completion script (`PROGRAM completion bash`) to OUTPUT, replacing it
# only once the whole script was written, so a failed run leaves no half script to be sourced.
cmake_minimum_required(VERSION 3.25)
get_filename_component(_dir ${OUTPUT} DIRECTORY)
file(MAKE_DIRECTORY ${_dir})
execute_process(COMMAND ${PROGRAM} completion bash
                OUTPUT_FILE ${OUTPUT}.tmp
                RESULT_VARIABLE _rc)
if(NOT _rc EQUAL 0)
  file(REMOVE ${OUTPUT}.tmp)
  message(FATAL_ERROR "${PROGRAM} completion bash failed: ${_rc}")
endif()
file(RENAME ${OUTPUT}.tmp ${OUTPUT})
