# Compile options of every target: warnings, the sanitizers, and the Qt conversions that hide encoding mistakes.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(KOPERTAL_WERROR)
    add_compile_options(-Werror)
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS QT_NO_URL_CAST_FROM_STRING
                        QT_DISABLE_DEPRECATED_BEFORE=0x060400)

add_link_options(-Wl,--as-needed)
# Some fifty test programs are linked: with lld in a tenth of the time.
find_program(KOPERTAL_LLD ld.lld)
if(BUILD_TESTING AND KOPERTAL_LLD)
    add_link_options(-fuse-ld=lld)
endif()

if(KOPERTAL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
    add_link_options(-fsanitize=address,undefined)
endif()
if(KOPERTAL_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
