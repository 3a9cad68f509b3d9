// A module built without the module runtime: it exports nothing, so it
// never says whether it can be unloaded.

namespace {
[[maybe_unused]] const int g_loaded = 1;
}  // namespace
