// A module of the version that comes after this one.
#include <QtGlobal>

extern "C" Q_DECL_EXPORT const char* kopertalVersion();
extern "C" Q_DECL_EXPORT void kopertalGenerate();

const char* kopertalVersion() {
    return "9999.0.0";
}

void kopertalGenerate() {
    qFatal("called with another version's arguments");
}
