// Resources alone make no library: the linker wants a source.
extern "C" __declspec(dllexport) int platform_strings_answer() {
    return 42;
}
