# What zktool is made with: the targets CLI11::CLI11, nlohmann_json::nlohmann_json and csv::csv.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  find_path(CSV_INCLUDE_DIR csv.h REQUIRED)
  find_library(CSV_LIBRARY csv REQUIRED)
  add_library(csv::csv UNKNOWN IMPORTED)
  set_target_properties(csv::csv PROPERTIES IMPORTED_LOCATION ${CSV_LIBRARY}
                                            INTERFACE_INCLUDE_DIRECTORIES ${CSV_INCLUDE_DIR})
  return()
endif()

# For another system: two of them are headers only, and the building machine's serve, linked into a
# folder of their own, so that the headers of its C library stay out. The third is built here.
set(ZK_CSV_SOURCE "" CACHE PATH "Folder with the sources of libcsv (scripts/fetch-libcsv.sh)")

function(zk_header_library target folder)
  set(alone ${CMAKE_BINARY_DIR}/header-libraries/${folder})
  find_path(place ${folder} PATHS /usr/include REQUIRED NO_DEFAULT_PATH NO_CACHE
            NO_CMAKE_FIND_ROOT_PATH)
  file(MAKE_DIRECTORY ${alone})
  file(CREATE_LINK ${place}/${folder} ${alone}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED)
  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${alone})
endfunction()

zk_header_library(CLI11::CLI11 CLI)
zk_header_library(nlohmann_json::nlohmann_json nlohmann)
if(NOT EXISTS ${ZK_CSV_SOURCE}/libcsv.c)
  message(FATAL_ERROR "ZK_CSV_SOURCE names no folder with libcsv.c (scripts/fetch-libcsv.sh)")
endif()
add_library(csv STATIC ${ZK_CSV_SOURCE}/libcsv.c)
target_include_directories(csv SYSTEM PUBLIC ${ZK_CSV_SOURCE})
add_library(csv::csv ALIAS csv)
