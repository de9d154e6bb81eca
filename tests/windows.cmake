# Tests of the Windows build alone.
zk_add_test(windows ${file_calls} ${processes})

# A host that is linked with nothing of the library.
add_executable(windows_host windows_host.c)
target_compile_options(
  windows_host PRIVATE -Wall -Wextra -Wpedantic -Werror -Wno-cast-function-type
                       -mno-stackrealign -mpreferred-stack-boundary=2)
add_dependencies(windows_host zk_baselib)
set(host_folder ${CMAKE_CURRENT_BINARY_DIR}/windows_host)
file(MAKE_DIRECTORY ${host_folder})
add_test(NAME windows_host COMMAND windows_host $<TARGET_FILE:zk_baselib>
         WORKING_DIRECTORY ${host_folder})

find_program(ZK_PYTHON3 NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(ZK_PYTHON3 NAMES python3 REQUIRED)
add_test(NAME windows_dll
         COMMAND ${ZK_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/windows_dll_test.py
                 $<TARGET_FILE:zk_baselib> ${PROJECT_SOURCE_DIR}/cmake/exports.txt
                 ${PROJECT_VERSION})

if(CMAKE_CROSSCOMPILING)
  # Beside programs of this machine: those that make test has built.
  set(ZK_NATIVE_TESTS ${PROJECT_SOURCE_DIR}/build/sanitize/tests
      CACHE PATH "Where the test programs of the building machine are")
  add_test(NAME windows_sharing
           COMMAND ${ZK_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/windows_sharing_test.py
                   ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:sharing_test>
                   ${ZK_NATIVE_TESTS}/sharing_test)
  set_tests_properties(windows_sharing PROPERTIES SKIP_RETURN_CODE 77)
  if(ZK_BUILD_TOOL)
    add_test(NAME windows_tool
             COMMAND ${ZK_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/windows_tool_test.py
                     ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:zktool>)
  endif()
endif()
