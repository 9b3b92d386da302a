#pragma once

#include <string>

namespace kelvane {

/// Limits the address space of this process, so that memory that runs out is a failure that the command
/// reports. `limit` is a number of bytes with K, M, G or T behind it, or empty for half of the machine's
/// memory. Throws Failure for any other text.
void limitMemory(const std::string& limit);
/// Takes the limit away, before another program is started that would have it, too.
void endMemoryLimit();

}  // namespace kelvane
