#include "tests/fuzz/FuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const uchar* data, std::size_t size) {
    feed({data, static_cast<qsizetype>(size)});
    return 0;
}
