# Installs the build into a fresh prefix, checks the installed layout, then configures, builds and
# runs the consumer project and the library example against it.
file(REMOVE_RECURSE ${WORK_DIR})
set(PREFIX ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}")
  endif()
endfunction()

# Configures and builds the project in `source` against the prefix, with the project's warnings
# as errors, then runs `program`.
function(build_and_run name source program)
  run(${CMAKE_COMMAND} -S ${source} -B ${WORK_DIR}/${name} -G Ninja
      -DCMAKE_PREFIX_PATH=${PREFIX}
      "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Werror")
  run(${CMAKE_COMMAND} --build ${WORK_DIR}/${name})
  run(${WORK_DIR}/${name}/${program})
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

# bcmsim's SDK header copies sit in a folder of their own: the prefix's include folder has no
# SDK header (a vendor SDK installed there would be shadowed) and no assert.h (it would come
# before the C library's for every user of the prefix).
set(SDK_COPY ${PREFIX}/include/bcmsim-sdk)
foreach(shadowing bcm shared sal soc bcmsim assert.h)
  if(EXISTS ${PREFIX}/include/${shadowing})
    message(FATAL_ERROR "installed in the prefix's include folder: ${shadowing}")
  endif()
endforeach()
foreach(header assert.h bcm/field.h bcm/types.h shared/gport.h sal/core/libc.h soc/drv.h
               bcmsim/chips.h bcmsim/classify.h bcmsim/device.h
               ${PREFIX}/include/hal_filters_ll/hal_filters_itf.h
               ${PREFIX}/include/hal_bcm_common/hal_bcm_common.h)
  if(NOT IS_ABSOLUTE ${header})
    set(header ${SDK_COPY}/${header})
  endif()
  if(NOT EXISTS ${header})
    message(FATAL_ERROR "not installed: ${header}")
  endif()
endforeach()

# The library's installed headers name the SDK headers only, never bcmsim's own API, so they
# compile against a vendor SDK: here a copy of the SDK headers without bcmsim/.
file(GLOB library_headers RELATIVE ${PREFIX}/include ${PREFIX}/include/hal_filters_ll/*.h)
if(NOT library_headers)
  message(FATAL_ERROR "no library header installed")
endif()
set(vendor_sdk ${WORK_DIR}/vendor_sdk)
file(COPY ${SDK_COPY}/ DESTINATION ${vendor_sdk} PATTERN bcmsim EXCLUDE)
set(includes "")
foreach(header ${library_headers})
  string(APPEND includes "#include <${header}>\n")
endforeach()
file(WRITE ${WORK_DIR}/sdk_only_headers.h "${includes}")
run(${CMAKE_COMMAND} -S ${SDK_ONLY_DIR} -B ${WORK_DIR}/sdk_only -G Ninja
    -DINSTALLED_INCLUDE_DIR=${PREFIX}/include -DVENDOR_SDK_DIR=${vendor_sdk}
    -DHEADERS=${WORK_DIR}/sdk_only_headers.h "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/sdk_only)

build_and_run(consumer ${CONSUMER_DIR} consumer)
build_and_run(example ${EXAMPLE_DIR} filters_example)
# The installed scenario runner finds its libraries and runs its demo.
run(${PREFIX}/bin/filtersim)
