// A module without any of a plug-in's entry points.
extern "C" __attribute__((visibility("default"))) int Harmless()
{
    return 7;
}
