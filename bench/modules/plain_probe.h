#pragma once
// The least a component system does for one component, without the
// framework: make the object, keep it in a map of live objects, one virtual
// call, take it out of the map, free it. The floors of the requests are
// built from it; nothing here is Orvik's.

#include <cstdint>
#include <unordered_map>

namespace Orvik::Bench {

class PlainProbe {
public:
    virtual int32_t Work(int32_t x) = 0;
    virtual void Release() = 0;

protected:
    ~PlainProbe() = default;
};

// What the plain module's components add in Work.
constexpr int32_t kPlainTag = 600;

// The plain module's exports, looked up by these names.
using PlainCreateFunction = PlainProbe* (*)(int32_t id);
constexpr const char* kPlainCreateName = "PlainCreate";
// Never called: they make the idle cycle's floor look up three names, as a
// request for a reloaded module does.
constexpr const char* kPlainOtherNames[] = {"PlainSetPath", "PlainSetOwner"};

namespace {

// Each module that includes this keeps its own live objects.
class PlainLiveProbe final : public PlainProbe {
public:
    explicit PlainLiveProbe(int32_t tag) : tag_(tag) {}
    static std::unordered_map<const void*, int32_t>& Live()
    {
        static std::unordered_map<const void*, int32_t> live;
        return live;
    }
    static PlainProbe* Create(int32_t id, int32_t tag)
    {
        auto* probe = new PlainLiveProbe(tag);
        Live().emplace(probe, id);
        return probe;
    }
    int32_t Work(int32_t x) override { return x + tag_; }
    void Release() override
    {
        Live().erase(this);
        delete this;
    }

private:
    int32_t tag_;
};

}  // namespace
}  // namespace Orvik::Bench
