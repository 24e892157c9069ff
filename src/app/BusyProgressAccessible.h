#pragma once

class QProgressBar;

// Lets assistive technology know when a progress bar without a range (drawn as busy) is busy:
// Qt's own interface for a progress bar has no busy state. Install before the bar is first
// asked for; the bar tells a change with notifyBusyChanged.
namespace BusyProgressAccessible {
void install();
void notifyBusyChanged(QProgressBar* bar);
} // namespace BusyProgressAccessible
