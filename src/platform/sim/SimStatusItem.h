#pragma once

#include "artwork/StatusGlyph.h"
#include "app/StatusItem.h"

#include <QObject>

namespace tk {

class SimDesktop;

// Tuckaway's item in the simulated menu bar. Its place is the desktop's: where the user
// left it (remembered under the autosave name) and wherever a ⌘-drag drops it.
class SimStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    // The item has no place until the event loop has turned `layoutTurns` times, as a Mac
    // lays a new item out only then; never when it is negative.
    SimStatusItem(const SimDesktop& desktop, double length, QString autosaveName, bool hasButton,
                  int layoutTurns, QObject* parent = nullptr);
    ~SimStatusItem() override;

    bool hasButton() const override { return m_hasButton; }
    void setImage(const GlyphImage& glyph) override;
    QImage image() const override;
    void setToolTip(const QString& text) override;
    void setClickHandler(ClickHandler handler) override;
    std::optional<Rect> buttonWindowFrame() const override;
    std::optional<Rect> buttonFrameOnScreen() const override;
    void popUpMenu(const QList<MenuEntry>& menu) override;

    double length() const { return m_length; }
    const QString& autosaveName() const { return m_autosaveName; }
    const std::optional<GlyphImage>& glyph() const { return m_glyph; }
    const QString& toolTip() const { return m_toolTip; }

    // A mouse-up on the button, as the person gives it. Nothing happens without a button.
    void click(const StatusItemEvent& event);

    // The menu shown last; it stays until another one is shown or an entry is chosen.
    const std::optional<QList<MenuEntry>>& openMenu() const { return m_openMenu; }
    // Chooses the entry at `index` of the open menu, which closes. False when there is no
    // such entry or it is a separator.
    bool chooseMenuEntry(int index);
    // Through submenus: the indices of the entries from the open menu down; the last one's
    // action runs. False when the path leads nowhere or to an entry without action.
    bool chooseMenuPath(const QList<int>& path);
    // Closes the open menu without a choice.
    void dismissMenu() { m_openMenu.reset(); }
    int menuCount() const { return m_menuCount; }

Q_SIGNALS:
    void menuPoppedUp();
    // The image or the tooltip was set.
    void appearanceChanged();

private:
    void turn();

    const SimDesktop& m_desktop;
    double m_length;
    QString m_autosaveName;
    bool m_hasButton;
    int m_turnsBeforeLayout;
    std::optional<GlyphImage> m_glyph;
    QString m_toolTip;
    ClickHandler m_clickHandler;
    std::optional<QList<MenuEntry>> m_openMenu;
    int m_menuCount = 0;
};

} // namespace tk
