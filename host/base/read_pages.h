#pragma once

namespace mien {

/// Takes the pages of all ReadPages (spooled_memory.h) out of the process's memory: for code that goes through all of
/// a text and fills no SpooledMemory meanwhile.
void DropReadPages();

} // namespace mien
