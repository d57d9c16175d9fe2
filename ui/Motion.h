#pragma once

namespace morvik {

// Whether things may move by themselves: fades, turning spinners, the toolkit's own effects. Main
// thread only.

/// True until the desktop has said otherwise. To be asked whenever a movement would begin or go on.
bool isMotionWanted();

void setMotionWanted(bool isWanted);

} // namespace morvik
