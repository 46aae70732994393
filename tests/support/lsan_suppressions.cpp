// ngspice keeps allocations for its whole life (circuits, plots, variables); those are its own,
// so the leak checker of sanitizer builds ignores memory allocated inside the library.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libngspice.so\n";
}
