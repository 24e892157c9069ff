#pragma once

#include <QByteArray>

// Seconds of sound that a RIFF/WAVE file's beginning announces (its "fmt " byte rate and
// its "data" size); 0 for anything else, or for a header cut before the data chunk.
double RVWaveDuration(const QByteArray& head);
