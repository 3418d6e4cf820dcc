#pragma once

#include "ui/ViewContext.h"

class QLabel;

namespace tk {

class ImageView;

// Who we are: icon, name, version, credit and rights, and a word on the hiding mechanism.
class AboutSection final : public SectionView {
    Q_OBJECT

public:
    explicit AboutSection(const ViewContext& context, QWidget* parent = nullptr);
    ~AboutSection() override;
    void render() override;

    // The version as the About line shows it: the bundle's, or "1.0" without one.
    static QString shownVersion(const QString& bundleVersion);

private:
    ImageView* m_icon;
    QLabel* m_name;
    QLabel* m_version;
    QLabel* m_credit;
    QLabel* m_rights;
    QLabel* m_note;
};

} // namespace tk
