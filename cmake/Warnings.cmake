# Warnings everywhere; errors in CI so that nothing slips in unnoticed.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> -Wconversion
                    -Wno-sign-conversion)
if(DEFINED ENV{CI} AND "$ENV{CI}" STREQUAL "true")
    add_compile_options(-Werror)
endif()
