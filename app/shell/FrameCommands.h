#pragma once

namespace kopertal {

struct FrameTexts;
class MainWindow;
class Updater;

/// Adds to `window` what frames the program: the About and update items before the application
/// menu's own, the Help menu, the brand mark. `updater` outlives the window.
void addFrameCommands(MainWindow& window, Updater& updater, const FrameTexts& texts);

} // namespace kopertal
