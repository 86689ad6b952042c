// The font of everything that the window writes: the system's, or a better one where the system has none to
// speak of.
#pragma once

#include <QString>

namespace slicewise {

inline constexpr const char *kFontWhereThereIsNone = "Inter";

/// The family to write in instead of the system's; empty: the system's. requested: what the platform asks
/// for, resolved: what that comes to on this machine.
[[nodiscard]] QString familyInsteadOf(const QString &requested, const QString &resolved);

/// Sets it for the application that is there. GUI thread.
void chooseSystemFont();

} // namespace slicewise
