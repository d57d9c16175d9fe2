# cmake -DSOURCE=FOLDER -DHEADER=FILE -P BuildNumber.cmake: writes KOPERTAL_BUILD_NUMBER, the number of commits up to
# this one, and "0" where the sources are no repository of their own. The file is touched only when it changes.
set(number)
if(EXISTS ${SOURCE}/.git)
    execute_process(COMMAND git -C ${SOURCE} rev-list --count HEAD
        OUTPUT_VARIABLE number OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE result)
endif()
if(NOT number MATCHES "^[0-9]+$")
    set(number 0)
endif()
file(CONFIGURE OUTPUT ${HEADER} CONTENT "#pragma once\n\n#define KOPERTAL_BUILD_NUMBER \"${number}\"\n" @ONLY)
