// Time values as used by function curves.
//
// A CTime is a number of frames at a frame rate given by its format: NTSC 29.97, PAL 25,
// FILM 24 frames per second, or a custom rate. The frame count is kept as given, so
// GetTime() reads back exactly what was put (DBL_MAX stays DBL_MAX).
#pragma once

#include "sicppsdk.h"

namespace XSI {

class CTime {
public:
    enum Format { NTSC, PAL, FILM, CUSTOM };
    enum Unit { Frames, Hours, Minutes, Seconds, Milliseconds };

    CTime() = default;
    CTime(double frame) : m_frames(frame) {}
    CTime(double time, Format format, double customRate = 1.0) : m_frames(time), m_format(format), m_customRate(customRate) {}
    CTime(double time, Unit unit, Format format, double customRate = 1.0)
        : m_format(format), m_customRate(customRate) { PutTime(time, unit); }

    double GetTime(Unit unit = CTime::Frames) const;
    void PutTime(double time, Unit unit = CTime::Frames);
    operator double() const { return m_frames; }

    Format GetFormat() const { return m_format; }
    // Frames per second of the format.
    double GetFrameRate() const;

private:
    double m_frames = 0.0;
    Format m_format = NTSC;
    double m_customRate = 1.0;
};

}  // namespace XSI
