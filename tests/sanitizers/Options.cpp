// What the sanitizers are told in every test program that is built with one, however it is started.
extern "C" {

const char* __asan_default_options() {
    // Told of a library's thread-local block that chances to begin 16 bytes into a page, the leak
    // checker takes what stands before it for the header of an old C library's, and crashes on it
    // (DTLS_on_tls_get_addr in sanitizer_tls_get_addr.cpp of LLVM).
    return "detect_leaks=1:allocator_may_return_null=1:intercept_tls_get_addr=0";
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
