// What the sanitizers must not look at: libraries of the system, which are built without them.

extern "C" {
__attribute__((visibility("default"))) const char *__tsan_default_suppressions();
__attribute__((visibility("default"))) const char *__lsan_default_suppressions();

const char *__tsan_default_suppressions() {
    return "race:libglib-2.0.so\nrace:libgobject-2.0.so\nrace:libgio-2.0.so\nrace:libumockdev\n"
           "race:libffi.so\nrace:libusb-1.0.so\nrace:libudev.so\ndeadlock:libusb-1.0.so\n";
}
const char *__lsan_default_suppressions() {
    // libusb forgets parts of a descriptor that it refuses.
    return "leak:libglib-2.0.so\nleak:libgobject-2.0.so\nleak:libgio-2.0.so\nleak:libumockdev\n"
           "leak:libusb-1.0.so\n";
}
}
