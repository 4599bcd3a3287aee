#pragma once

namespace mien {

/// Takes the pages of all ReadPages (spooled_memory.h) out of the process's memory: for whoever goes through all of
/// a text without filling SpooledMemory meanwhile.
void DropReadPages();

} // namespace mien
