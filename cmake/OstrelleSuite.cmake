# ostrelle_add_suite(NAME [SOURCES file...] [LIBRARIES target...] [TIMEOUT seconds] [THREADS])
#
# One Qt Test program from tst_NAME.cpp of the calling folder plus SOURCES, registered with CTest
# under the same name. THREADS marks a suite with threads of its own: it is also built by the target
# suites_with_threads and carries CTest's label "threads". Suites run on Qt's offscreen platform unless they start programs of their own.
add_custom_target(suites_with_threads)

# Qt tells each suite where the tree lies, for QFINDTESTDATA, which nothing here uses: without that the compiler cache
# of one clone serves another.
get_target_property(definitions Qt6::Test INTERFACE_COMPILE_DEFINITIONS)
if(definitions)
    list(FILTER definitions EXCLUDE REGEX "QT_TESTCASE_")
    set_target_properties(Qt6::Test PROPERTIES INTERFACE_COMPILE_DEFINITIONS "${definitions}")
endif()

function(ostrelle_add_suite name)
    cmake_parse_arguments(PARSE_ARGV 1 suite "THREADS" "TIMEOUT" "SOURCES;LIBRARIES")
    if(NOT suite_TIMEOUT)
        set(suite_TIMEOUT 300)
    endif()
    add_executable(tst_${name} tst_${name}.cpp ${suite_SOURCES})
    set_target_properties(tst_${name} PROPERTIES AUTOMOC ON)
    ostrelle_configure_target(tst_${name})
    if(NOT WIN32 AND Qt6Core_VERSION VERSION_GREATER_EQUAL 6.7)
        # The QTRY_ macros of this Qt narrow a number in the suite's own code; with an older Qt the warning is on.
        target_compile_options(tst_${name} PRIVATE -Wno-conversion)
    endif()
    target_link_libraries(tst_${name} PRIVATE
        ${suite_LIBRARIES} ostrelle_test_support Qt6::Core Qt6::Test)
    add_test(NAME ${name} COMMAND tst_${name})
    set(environment "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;TZ=UTC")
    if(OSTRELLE_SANITIZERS MATCHES "thread")
        # QProcess forks with vfork: the child marks the memory that it shares with the suite as forked, and
        # the sanitizer would take the suite for the child.
        string(APPEND environment
            ";TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/scripts/tsan.supp:die_after_fork=0")
    endif()
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${suite_TIMEOUT}
        ENVIRONMENT "${environment}")
    if(suite_THREADS)
        set_tests_properties(${name} PROPERTIES LABELS threads)
        add_dependencies(suites_with_threads tst_${name})
    endif()
endfunction()
