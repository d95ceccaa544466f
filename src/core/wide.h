// Whether code with wide instructions runs, see core/wide_targets.h.
#pragma once

namespace readkit {

/// Whether the processor has the wide instructions that the library has code for.
bool has_wide_instructions();

/// Whether they are used; where the processor has them, until told otherwise. For tests, which meet
/// the plain code by this.
bool uses_wide_instructions();
void use_wide_instructions(bool wanted);

}  // namespace readkit
