#include "ui/UIActionSheet.h"

#include <utility>

namespace slicewise {

void UIActionSheet::showInView(Texts texts)
{
    show(Origin::View, std::move(texts));
}

void UIActionSheet::showFromBarButtonItem(Texts texts)
{
    show(Origin::BarButtonItem, std::move(texts));
}

void UIActionSheet::show(Origin origin, Texts texts)
{
    m_origin = origin;
    m_texts = std::move(texts);
    m_visible = true;
    Q_EMIT changed();
}

void UIActionSheet::dismiss()
{
    if (m_visible) {
        m_visible = false;
        Q_EMIT changed();
    }
}

} // namespace slicewise
