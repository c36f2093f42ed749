# Writes OUTPUT with the time, which SOURCE_DATE_EPOCH may fix, and the commit of SOURCE_DIR.
string(TIMESTAMP time "%Y-%m-%d %H:%M:%S UTC" UTC)
execute_process(COMMAND git -C ${SOURCE_DIR} describe --always --exclude * --abbrev=10 --dirty=+
                OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  set(commit unknown)
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/build_facts.cpp.in ${OUTPUT} @ONLY)
