#include <QApplication>

// For the fuzzers of what is decoded or shown, until the process ends.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*=false");
    new QApplication(*count, *arguments);
    return 0;
}
