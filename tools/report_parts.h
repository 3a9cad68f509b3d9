#pragma once
// Pieces that several verbs print, as text and as JSON.

#include <ostream>
#include <string>
#include <vector>

#include "orvik/platform/load_failure.h"
#include "tools/json_writer.h"
#include "tools/module_probe.h"

namespace Orvik {
namespace Tools {

// The letters of a log mask, in the order E T V D W C.
std::string MaskLetters(uint32_t mask);

// The debug lines, one per line, indented; a line without its own line end
// gets one.
void PrintDebugLines(std::ostream& out, const std::vector<std::string>& lines);
void WriteDebugLines(JsonWriter& json, const std::vector<std::string>& lines);

// What the loader said, under a heading line already printed.
void PrintFailure(std::ostream& out, const Platform::LoadFailure& failure, const std::string& indent);
void WriteFailure(JsonWriter& json, const Platform::LoadFailure& failure);

// The probe's members, into an open JSON object.
void WriteProbeMembers(JsonWriter& json, const ModuleProbe& probe);

}  // namespace Tools
}  // namespace Orvik
