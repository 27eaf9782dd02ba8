// What the sanitizers must know of the libraries that are not built with them; linked into every program of a
// sanitizer's build, since programs start each other.

extern "C" {

// What GLib and fontconfig make once and keep as long as the process. Their frames end the stacks that the
// sanitizer sees, so nothing finer can be named. And what newlocale loses of a folder named by LOCPATH.
const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
    return "leak:libglib-2.0.so\n"
           "leak:libfontconfig.so\n"
           "leak:argz_add_sep\n";
}

// What was suppressed would be told on the standard error of programs whose every word is checked.
const char* __lsan_default_options();
const char* __lsan_default_options() {
    return "print_suppressions=0";
}

// GLib synchronises in ways that ThreadSanitizer does not see, so it would find races inside these libraries.
const char* __tsan_default_options();
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
const char* __tsan_default_suppressions();
const char* __tsan_default_suppressions() {
    return "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libgio-2.0.so\n"
           "race:libgst\n"
           "race:libfontconfig.so\n"
           "race:libproxy.so\n";
}
}
