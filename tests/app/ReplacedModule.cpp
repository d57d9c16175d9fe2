// A module of the version that comes after this one.
#include <QtGlobal>

extern "C" Q_DECL_EXPORT const char* kopertalVersion() {
    return "9999.0.0";
}
