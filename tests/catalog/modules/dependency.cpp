// A module that is only ever preloaded; it exports nothing.

namespace {
[[maybe_unused]] int g_loaded = 1;
}  // namespace
