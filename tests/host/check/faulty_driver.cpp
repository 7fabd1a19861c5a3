// The minimal host with two faults of a person's making: another image is made active without a word to anybody, and the
// end is kept from the module. What `velmorant check --host` is tried on.

// Its own driver, by another name.
#define TheHostDriver GoodDriver
#include "examples/minimal_host/check_driver.cpp"
#undef TheHostDriver

static void KPZAPI ActivateSilently(ImageRecord *image) { host.activeImage = image; }
static void KPZAPI EndSilently() {}

extern "C" const HostDriver *KPZAPI TheHostDriver()
{
    static HostDriver faulty = *GoodDriver();
    faulty.activateImage = ActivateSilently;
    faulty.end = EndSilently;
    return &faulty;
}
