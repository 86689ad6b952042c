#include "ui/UIAlertView.h"

#include <utility>

namespace slicewise {

void UIAlertView::show(Texts texts)
{
    m_texts = std::move(texts);
    m_visible = true;
    Q_EMIT changed();
}

void UIAlertView::dismiss()
{
    if (m_visible) {
        m_visible = false;
        Q_EMIT changed();
    }
}

} // namespace slicewise
