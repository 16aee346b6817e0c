# Compiles Refused.cpp without making code: the lines that give an error or a warning must be those
# that are marked "// refused: TEXT", each with its TEXT in the message. And a compiler set to an
# older language must be told so.

set(compile ${COMPILER} -I${INCLUDE_DIR} -fsyntax-only)
if(COMPILER MATCHES "clang")
    list(APPEND compile -ferror-limit=0)
endif()
execute_process(COMMAND ${compile} -std=c++20 -Wall -Wextra -Wconversion -Wsign-conversion ${SOURCE}
                ERROR_VARIABLE messages RESULT_VARIABLE result)

set(number 0)
set(wrong "")
file(READ ${SOURCE} text)
string(REPLACE ";" "," text "${text}")
string(REPLACE "\n" ";" lines "${text}")
foreach(line IN LISTS lines)
    math(EXPR number "${number} + 1")
    string(REGEX MATCH "Refused.cpp:${number}:[0-9]+: (error|warning): [^\n]*" found "${messages}")
    if(line MATCHES "// refused: (.*)$")
        set(expected ${CMAKE_MATCH_1})
        if(NOT found MATCHES "${expected}")
            string(APPEND wrong "line ${number}: \"${expected}\" not in \"${found}\"\n")
        endif()
    elseif(found)
        string(APPEND wrong "${found}\n")
    endif()
endforeach()
if(wrong OR result EQUAL 0)
    message(FATAL_ERROR "${wrong}")
endif()

execute_process(COMMAND ${compile} -std=c++17 ${SOURCE} ERROR_VARIABLE messages)
if(NOT messages MATCHES "Veltrix needs C\\+\\+20")
    message(FATAL_ERROR "an older language is not refused")
endif()
