// A second, smaller line under the title of a screen.
//
// GUI thread. There is one subtitle for the whole program: what was set last, on whichever item, is what
// every item answers. Each item's title view keeps showing what was set on it.
#pragma once

#include "platform/SystemVersion.h"
#include "ui/UINavigationItem.h"

#include <QString>

#include <optional>

namespace slicewise {

/// What was set last on any item; absent before the first time.
[[nodiscard]] std::optional<QString> subtitle(const UINavigationItem &item);

/// Shows the item's title, as it is now, in bold and the subtitle under it, in the item's title view, which
/// is made if there is none. Systems before 7 write white with a shadow, the others black. The title has to
/// be set before: a later one does not reach the title view.
void setSubtitle(UINavigationItem &item, const QString &subtitle, const SystemVersion &version);

} // namespace slicewise
