// A module whose components throw where a module must contain it: in a
// constructor, in a singleton's constructor, and in a finalisation; and one
// whose exception meets a function that may not throw, which ends the
// process.

#include <stdexcept>

#include "tests/module/modules/test_probe.h"

namespace Orvik::Testing {

std::atomic<int32_t> g_uninitializeCount{0};

namespace {

// Always set; a flag the compiler cannot see through, so that it does not
// treat these classes as ones that can never be made.
std::atomic<bool> g_refuseCreation{true};

class CThrowsOnCreation : public TProbe<CThrowsOnCreation, 301, 0, 0, 1> {
public:
    CThrowsOnCreation()
    {
        if (g_refuseCreation) throw std::runtime_error("no resources");
    }
};

class CSingletonThrowsOnCreation : public TProbe<CSingletonThrowsOnCreation, 302, 1, 0, 2> {
public:
    CSingletonThrowsOnCreation()
    {
        if (g_refuseCreation) throw std::runtime_error("no resources");
    }
};

// Its finalisation throws while its auto-release mark is 2.
class CThrowsOnRelease : public TProbe<CThrowsOnRelease, 303, 0, 0, 3> {
public:
    void Uninitialize() override
    {
        if (GetAutoRelease() == 2) throw std::runtime_error("busy");
        ++g_uninitializeCount;
    }
};

class CPlain : public TProbe<CPlain, 304, 0, 0, 4> {};

class CEndsTheProcess : public TProbe<CEndsTheProcess, 305, 0, 0, 5> {
public:
    CEndsTheProcess() { GoOn(); }

private:
    static void GoOn() noexcept
    {
        if (g_refuseCreation) Fail();
    }
    [[noreturn]] static void Fail() { throw std::runtime_error("cannot go on"); }
};

TComponentRegistrar<CThrowsOnCreation> throwsOnCreation;
TComponentRegistrar<CSingletonThrowsOnCreation> singletonThrowsOnCreation;
TComponentRegistrar<CThrowsOnRelease> throwsOnRelease;
TComponentRegistrar<CPlain> plain;
TComponentRegistrar<CEndsTheProcess> endsTheProcess;

}  // namespace
}  // namespace Orvik::Testing
