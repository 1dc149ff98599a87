// What the sanitizers are told in every test program that is built with one, however it is started.
extern "C" {

const char* __asan_default_options() {
    return "detect_leaks=1:allocator_may_return_null=1";
}

const char* __lsan_default_options() {
    return "print_suppressions=0:suppressions=" PAIRDECK_SANITIZERS_FOLDER "/lsan.supp";
}

const char* __tsan_default_options() {
    return "halt_on_error=1:suppressions=" PAIRDECK_SANITIZERS_FOLDER "/tsan.supp";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}
}
