#pragma once

#include "app/StatusItem.h"

#include <memory>

namespace tk {

// The application's NSStatusItem. Objective-C stays in the implementation file.
class MacStatusItem final : public StatusItem {
public:
    MacStatusItem(double length, const QString& autosaveName);
    ~MacStatusItem() override;

    bool hasButton() const override;
    void setImage(const GlyphImage& glyph) override;
    QImage image() const override;
    void setToolTip(const QString& text) override;
    void setClickHandler(ClickHandler handler) override;
    std::optional<Rect> buttonWindowFrame() const override;
    std::optional<Rect> buttonFrameOnScreen() const override;
    void popUpMenu(const QList<MenuEntry>& menu) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
