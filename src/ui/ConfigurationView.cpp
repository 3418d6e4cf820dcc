#include "ConfigurationView.h"

#include "core/FileAccess.h"
#include "inspection/Inspector.h"
#include "l10n/L10n.h"
#include "settings/FilePanels.h"
#include "settings/Preferences.h"
#include "ui/AboutSection.h"
#include "ui/AppearanceSection.h"
#include "ui/GeneralSection.h"
#include "ui/OrganizationSection.h"
#include "ui/PermissionsSection.h"
#include "ui/ViewContext.h"
#include "ui/ViewFrame.h"
#include "ui/ViewStyle.h"
#include "visibility/VisibilityController.h"

#include <QCollator>
#include <QEvent>
#include <QHBoxLayout>
#include <QHash>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString applePrefix = u"com.apple."_s;
constexpr int contentPadding = 24;
constexpr int contentSpacing = 18;

} // namespace

struct ConfigurationView::Parts {
    HeaderBar* header = nullptr;
    SectionList* sectionList = nullptr;
    QScrollArea* content = nullptr;
    QList<SectionView*> sections; // in the order of their indexes
    FooterBar* footer = nullptr;
};

ConfigurationView::ConfigurationView(Preferences& preferences, Inspector& inspector,
                                     VisibilityController& visibility, Actions actions,
                                     Services services, QWidget* parent)
    : QWidget(parent),
      m_context(std::make_unique<ViewContext>(ViewContext{
          preferences, inspector, visibility, std::move(actions), std::move(services)})),
      m_parts(std::make_unique<Parts>())
{
    setObjectName(u"configurationView"_s);
    setMinimumSize(minimumSize);
    build();
    const auto redraw = [this] { render(); };
    connect(&preferences, &Preferences::changed, this, redraw);
    connect(&inspector, &Inspector::itemsChanged, this, redraw);
    connect(&inspector, &Inspector::reportChanged, this, redraw);
    connect(&inspector, &Inspector::isScanningChanged, this, redraw);
    connect(&visibility, &VisibilityController::activeChanged, this, redraw);
    connect(&visibility, &VisibilityController::pendingChanged, this, redraw);
    connect(&visibility, &VisibilityController::messageChanged, this, redraw);
    render();
}

ConfigurationView::~ConfigurationView() = default;

QSize ConfigurationView::sizeHint() const
{
    return idealSize;
}

void ConfigurationView::build()
{
    Parts& parts = *m_parts;
    const ViewContext& context = *m_context;
    parts.header = new HeaderBar(context, this);
    parts.sectionList = new SectionList(context, this);
    parts.footer = new FooterBar(context, this);
    parts.sections = {new GeneralSection(context), new OrganizationSection(context),
                      new AppearanceSection(context),
                      new PermissionsSection(context, [this] { saveReport(); }),
                      new AboutSection(context)};

    auto* column = new QWidget;
    column->setObjectName(u"sectionColumn"_s);
    auto* sections = new QVBoxLayout(column);
    sections->setContentsMargins(contentPadding, contentPadding, contentPadding, contentPadding);
    sections->setSpacing(contentSpacing);
    for (SectionView* section : std::as_const(parts.sections))
        sections->addWidget(section, 1);
    parts.content = new QScrollArea(this);
    parts.content->setObjectName(u"content"_s);
    parts.content->setFrameShape(QFrame::NoFrame);
    parts.content->setWidgetResizable(true);
    parts.content->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    parts.content->setWidget(column);

    auto* body = new QHBoxLayout;
    body->setSpacing(0);
    body->addWidget(parts.sectionList);
    body->addWidget(parts.content, 1);
    auto* frame = new QVBoxLayout(this);
    frame->setContentsMargins(0, 0, 0, 0);
    frame->setSpacing(0);
    frame->addWidget(parts.header);
    frame->addWidget(ViewStyle::divider(this));
    frame->addLayout(body, 1);
    frame->addWidget(ViewStyle::divider(this));
    frame->addWidget(parts.footer);
}

ConfigurationView::Section ConfigurationView::sectionFor(int section)
{
    return section >= General && section <= Permissions ? Section(section) : About;
}

// Only the section on show is drawn; the others are drawn anew when they come into view.
void ConfigurationView::render()
{
    const Parts& parts = *m_parts;
    setLocale(QLocale(m_context->language()));
    parts.header->render();
    parts.sectionList->render();
    parts.footer->render();
    const int shown = sectionFor(m_context->preferences.section());
    SectionView* section = parts.sections[shown];
    const bool switching = section->isHidden();
    section->render();
    for (int index = 0; index < parts.sections.size(); ++index)
        parts.sections[index]->setVisible(index == shown);
    if (switching)
        parts.content->verticalScrollBar()->setValue(0);
}

// Coming back to the window, for example from the system's privacy settings, shows the
// permission as it stands now; a new palette, light or dark, recolours what is drawn.
void ConfigurationView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if ((event->type() == QEvent::ActivationChange && isActiveWindow()) ||
        event->type() == QEvent::PaletteChange)
        render();
}

QList<ConfigurationView::ListedApp> ConfigurationView::apps(const QList<ExternalItem>& items,
                                                            const QStringList& hiddenBundles,
                                                            const std::optional<QString>& ownBundle,
                                                            const QString& language)
{
    QHash<QString, QString> names;
    for (const ExternalItem& item : items) {
        if (!item.bundleID || item.bundleID->startsWith(applePrefix))
            continue;
        if (ownBundle && *ownBundle == *item.bundleID)
            continue;
        names.insert(*item.bundleID, item.app);
    }
    const QString missing = L10n::text(u" (no detectada)"_s, language);
    for (const QString& bundle : hiddenBundles) {
        if (!names.contains(bundle))
            names.insert(bundle, bundle + missing);
    }
    QList<ListedApp> listed;
    listed.reserve(names.size());
    for (auto entry = names.cbegin(); entry != names.cend(); ++entry)
        listed.append({entry.key(), entry.value()});
    QCollator collator{QLocale(language)};
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // Equal names keep one order from run to run, by bundle identifier.
    std::sort(listed.begin(), listed.end(), [&collator](const ListedApp& a, const ListedApp& b) {
        const int order = collator.compare(a.name, b.name);
        return order != 0 ? order < 0 : a.bundle < b.bundle;
    });
    return listed;
}

void ConfigurationView::saveReport()
{
    const QString language = m_context->language();
    const QString proposed =
        language == u"en" ? u"Tuckaway-diagnostics.txt"_s : u"Tuckaway-diagnostico.txt"_s;
    const std::optional<QString> location =
        m_context->services.filePanels.chooseSaveLocation(proposed);
    if (!location || location->isEmpty())
        return;
    const QString report = L10n::text(m_context->inspector.report(), language);
    const std::optional<QString> failure = FileAccess::writeAtomically(*location, report.toUtf8());
    m_context->preferences.setNotice(failure.value_or(u"Informe guardado."_s));
}

} // namespace tk
