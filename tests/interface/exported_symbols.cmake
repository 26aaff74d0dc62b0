# The dynamic symbol table of the shared library holds exactly the public entries: every routine under its
# three Fortran names (SAXPY, saxpy, saxpy_, one function at one address) and its cblas_ name, the processor
# probe entries and the version report. Run as cmake -DNM=<nm> -DLIBRARY=<file> -P exported_symbols.cmake;
# the toolchain's nm reads the file, so the check is the same for every target.
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} cannot read ${LIBRARY}")
endif()
set(routines csscal zdscal scabs1 dcabs1 sger dger cgeru zgeru cgerc zgerc srotmg drotmg srot drot csrot zdrot srotm
  drotm sdot ddot cdotu zdotu cdotc zdotc dsdot sdsdot sasum dasum scasum dzasum snrm2 dnrm2 scnrm2 dznrm2 isamax
  idamax icamax izamax isamin idamin icamin izamin chemm zhemm cherk zherk cher2k zher2k ssymv dsymv chemv zhemv
  ssbmv dsbmv chbmv zhbmv sspmv dspmv chpmv zhpmv ssyr dsyr cher zher sspr dspr chpr zhpr ssyr2 dsyr2 cher2 zher2
  sspr2 dspr2 chpr2 zhpr2)
foreach(family axpy scal copy swap axpby gemm symm syrk syr2k trsm trmm gemv gbmv rotg trsv tbsv tpsv trmv tbmv tpmv)
  list(APPEND routines s${family} d${family} c${family} z${family})
endforeach()
set(expected android_getCpuFamily android_getCpuFeatures android_getCpuCount android_setCpu android_getCpuIdArm
  android_setCpuArm KOVRAVersionString KOVRAVersionInfo convolution_mm)
foreach(routine IN LISTS routines)
  string(TOUPPER ${routine} upper)
  list(APPEND expected ${upper} ${routine} ${routine}_ cblas_${routine})
  if(routine MATCHES "^[cz]dot[uc]$")  # the complex dots store their result: cblas_..._sub
    list(TRANSFORM expected REPLACE "^cblas_${routine}$" "cblas_${routine}_sub")
  endif()
endforeach()

# Names the linker defines in every shared object (ARM's linker script adds the __bss_*__ forms).
set(linker_made _init _fini _edata _end __end__ __bss_start __bss_start__ __bss_end__ _bss_end__)
set(problems "")
string(REGEX MATCHALL "[^\n]+" lines "${table}")
foreach(line IN LISTS lines)
  if(line MATCHES "^([0-9a-f]+) [A-Za-z] ([^@ ]+)")
    set(address_${CMAKE_MATCH_2} ${CMAKE_MATCH_1})
    if(NOT CMAKE_MATCH_2 IN_LIST expected AND NOT CMAKE_MATCH_2 IN_LIST linker_made)
      string(APPEND problems "not a public entry: ${CMAKE_MATCH_2}\n")
    endif()
  endif()
endforeach()
foreach(name IN LISTS expected)
  if(NOT DEFINED address_${name})
    string(APPEND problems "missing: ${name}\n")
  endif()
endforeach()
foreach(routine IN LISTS routines)
  string(TOUPPER ${routine} upper)
  set(address "${address_${routine}_}")
  if(NOT "${address_${upper}}" STREQUAL "${address}" OR NOT "${address_${routine}}" STREQUAL "${address}")
    string(APPEND problems "${upper}, ${routine} and ${routine}_ are not one function\n")
  endif()
endforeach()
if(problems)
  message(FATAL_ERROR "${problems}")
endif()
