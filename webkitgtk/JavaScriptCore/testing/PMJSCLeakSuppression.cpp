// JavaScriptCore keeps allocations that only its own heap refers to, which
// the leak checker cannot see into.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libjavascriptcoregtk-6.0.so\n";
}
