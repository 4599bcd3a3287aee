# The compiler settings of all targets of this project.
#
# Contraction is off everywhere: a fused multiply-add rounds once where the stated arithmetic rounds twice,
# and the solves guarantee the same bits from every compiler and build type.
function(mien_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  if(MSVC)
    target_compile_options(${target} PRIVATE /fp:precise /W4)
    return()
  endif()
  target_compile_options(${target} PRIVATE
    -ffp-contract=off -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wdouble-promotion -Wshadow
    -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2 -Wundef
    $<$<CXX_COMPILER_ID:GNU>:-Wuseless-cast -Wduplicated-cond -Wlogical-op>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>) # GCC 12 reports false overlaps in "text" + std::string
  if(MIEN_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
