#include "xsi_time.h"

namespace XSI {

namespace {
// Seconds per unit.
double UnitSeconds(CTime::Unit unit) {
    switch (unit) {
        case CTime::Hours: return 3600.0;
        case CTime::Minutes: return 60.0;
        case CTime::Milliseconds: return 0.001;
        default: return 1.0;
    }
}
}  // namespace

double CTime::GetFrameRate() const {
    switch (m_format) {
        case NTSC: return 29.97;
        case PAL: return 25.0;
        case FILM: return 24.0;
        default: return m_customRate;
    }
}

double CTime::GetTime(Unit unit) const {
    if (unit == Frames) return m_frames;
    return m_frames / GetFrameRate() / UnitSeconds(unit);
}

void CTime::PutTime(double time, Unit unit) {
    m_frames = unit == Frames ? time : time * UnitSeconds(unit) * GetFrameRate();
}

}  // namespace XSI
