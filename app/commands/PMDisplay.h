#pragma once
// The engine draws, so it needs a display; headless machines get one from Xvfb.
#include <optional>

// Starts the program again under xvfb-run when there is no display. Answers
// only when no re-start was needed (nothing) or it failed (the exit status).
std::optional<int> PMEnsureDisplay();
