# Installs the build tree into a scratch prefix and builds the consumer against it, the way a host
# team does: with find_package (MODE=cmake) or with pkg-config (MODE=pkg-config). Then runs it: a
# GoogleTest program, found the same way as the library.
# MODE=headers compiles every installed header in one unit with warnings as errors instead, so a
# host's compiler (CXX may be another than the library's) accepts all of them.
#   cmake -DBUILD_DIR=... -DWORK=... -DMODE=cmake|pkg-config|headers -DCXX=... -DCXX_FLAGS=...
#         [-DTOOLCHAIN=file -DTRIPLET=arm-linux-gnueabihf -DEMULATOR=qemu-arm] -P RunConsumer.cmake
# A cross build passes its toolchain, multiarch triplet and emulator: the consumer is then built
# for the target and run under the emulator.
set(source ${CMAKE_CURRENT_LIST_DIR})
set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " line "${ARGN}")
    message(FATAL_ERROR "${line}\nfailed (${rc}):\n${out}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
file(GLOB libdir LIST_DIRECTORIES true ${prefix}/lib/*-linux-*)
set(ENV{LD_LIBRARY_PATH} "${libdir}")

if(MODE STREQUAL "cmake")
  set(cross)
  if(TOOLCHAIN)
    # The toolchain confines package searches to the target's root; point at the scratch copy.
    set(cross -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DErvObjectModel_DIR=${libdir}/cmake/ErvObjectModel)
  endif()
  run(${CMAKE_COMMAND} -S ${source} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${prefix} ${cross}
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=Debug)
  run(${CMAKE_COMMAND} --build ${WORK}/build)
  set(program ${WORK}/build/consumer)
else()
  # Only the scratch prefix, so a copy installed on the machine cannot stand in for it.
  set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
  if(TRIPLET)
    set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${TRIPLET}/pkgconfig:/usr/share/pkgconfig)
  endif()
  set(wanted --cflags --libs)
  if(MODE STREQUAL "headers")
    set(wanted --cflags)
  endif()
  set(packages ervobjectmodel)
  if(NOT MODE STREQUAL "headers")
    list(APPEND packages gtest)
  endif()
  run(pkg-config ${wanted} ${packages})
  string(STRIP "${output}" flags)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
  if(MODE STREQUAL "headers")
    file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*.h)
    list(SORT headers)
    set(unit "")
    foreach(header IN LISTS headers)
      string(APPEND unit "#include \"${header}\"\n")
    endforeach()
    file(WRITE ${WORK}/headers.cpp "${unit}")
    run(${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -Werror ${cxx_flags} ${WORK}/headers.cpp ${flags})
    list(LENGTH headers count)
    message(STATUS "${count} installed headers compile with ${CXX}")
    return()
  endif()
  set(program ${WORK}/consumer)
  run(${CXX} -std=c++17 ${cxx_flags} ${source}/HostTest.cpp -o ${program} ${flags})
endif()

run(${EMULATOR} ${program})
message(STATUS "${output}")
