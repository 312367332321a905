# Compiler warnings for every target of the project.
function(hal_filters_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Wold-style-cast -Wcast-align -Wformat=2)
  if(HAL_FILTERS_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
