#include "OrganizationSection.h"

#include "inspection/Inspector.h"
#include "inspection/Workspace.h"
#include "settings/Preferences.h"
#include "ui/ChoicePicker.h"
#include "ui/ViewStyle.h"
#include "visibility/BoundaryPolicy.h"
#include "visibility/VisibilityController.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QSet>
#include <QStyledItemDelegate>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

constexpr int sectionSpacing = 16;
constexpr int bundleRole = Qt::UserRole;
constexpr int rowPadding = 8; // more room around each row than a bare list gives

const QString boundaryMode = u"boundary"_s;
const QString manualMode = u"manual"_s;

// A click anywhere on a row flips its switch, as on a labelled toggle.
class WholeRowToggle final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override
    {
        const bool checkable = index.flags().testFlag(Qt::ItemIsUserCheckable);
        if (!checkable || event->type() == QEvent::KeyPress)
            return QStyledItemDelegate::editorEvent(event, model, option, index);
        if (event->type() == QEvent::MouseButtonDblClick)
            return true; // its two clicks already flipped the switch twice
        if (event->type() != QEvent::MouseButtonRelease)
            return false;
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton || !option.rect.contains(mouse->position().toPoint()))
            return false;
        const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        return model->setData(index, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, rowPadding);
    }
};

} // namespace

OrganizationSection::OrganizationSection(const ViewContext& context, QWidget* parent)
    : SectionView(context, sectionSpacing, parent), m_title(ViewStyle::sectionTitle(this)),
      m_mode(new ChoicePicker(ChoicePicker::Kind::RadioGroup, this)),
      m_explanation(ViewStyle::text(ViewStyle::Text::Callout, this)),
      m_note(ViewStyle::text(ViewStyle::Text::Caption, this, true)), m_list(new QListWidget(this)),
      m_warning(ViewStyle::text(ViewStyle::Text::Body, this)),
      m_count(ViewStyle::text(ViewStyle::Text::Caption, this, true)),
      m_reasonsTitle(ViewStyle::text(ViewStyle::Text::Callout, this)),
      m_reasons(ViewStyle::text(ViewStyle::Text::Caption, this, true)),
      m_unseenTitle(ViewStyle::text(ViewStyle::Text::Callout, this)),
      m_unseen(ViewStyle::text(ViewStyle::Text::Caption, this, true))
{
    setObjectName(u"organizationSection"_s);
    m_mode->setObjectName(u"modePicker"_s);
    m_explanation->setObjectName(u"modeExplanation"_s);
    m_list->setObjectName(u"appList"_s);
    m_list->setUniformItemSizes(true);
    m_list->setTextElideMode(Qt::ElideRight);
    // The list grows with its rows and the page scrolls, never the list inside it; a row is
    // ticked, never selected.
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setSizeAdjustPolicy(QAbstractScrollArea::AdjustIgnored);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    // A click ticks a row without marking it as the focused one; the keyboard still reaches
    // the list with Tab.
    m_list->setFocusPolicy(Qt::TabFocus);
    // Rows lie on the window like the other switches of the page, inside a frame.
    m_list->viewport()->setBackgroundRole(QPalette::Window);
    m_list->setItemDelegate(new WholeRowToggle(m_list));
    m_warning->setObjectName(u"authorizationWarning"_s);
    m_count->setObjectName(u"itemCount"_s);
    m_reasonsTitle->setObjectName(u"reasonsTitle"_s);
    m_reasons->setObjectName(u"reasons"_s);
    m_reasons->setTextFormat(Qt::PlainText);
    m_unseenTitle->setObjectName(u"unseenTitle"_s);
    m_unseen->setObjectName(u"unseen"_s);
    m_unseen->setTextFormat(Qt::PlainText);
    add(m_title);
    add(m_mode);
    add(m_explanation);
    add(m_note);
    add(m_list);
    buildButtons();
    add(m_warning);
    add(m_count);
    add(m_reasonsTitle);
    add(m_reasons);
    add(m_unseenTitle);
    add(m_unseen);
    column()->addStretch(1);
    connect(m_mode, &ChoicePicker::chosen, this, [this](const QString& mode) {
        m_context.edit([&](SettingsData& record) { record.mode = mode; });
    });
    connect(m_list, &QListWidget::itemChanged, this, &OrganizationSection::itemToggled);
}

OrganizationSection::~OrganizationSection() = default;

void OrganizationSection::buildButtons()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(ViewStyle::rowSpacing);
    m_refresh = ViewStyle::button(this);
    m_refresh->setObjectName(u"refreshAppsButton"_s);
    m_toggle = ViewStyle::button(this);
    m_toggle->setObjectName(u"toggleVisibilityButton"_s);
    row->addWidget(m_refresh);
    row->addWidget(m_toggle);
    row->addStretch(1);
    add(row);
    connect(m_refresh, &QPushButton::clicked, this,
            [this] { ViewContext::run(m_context.actions.refresh); });
    connect(m_toggle, &QPushButton::clicked, this,
            [this] { ViewContext::run(m_context.actions.toggleVisibility); });
}

// The row's switch has already flipped on screen. The store hears of it on the next turn,
// so that the redraw it causes never replaces the list under the click that changed it.
void OrganizationSection::itemToggled(QListWidgetItem* item)
{
    const QString bundle = item->data(bundleRole).toString();
    const bool hidden = item->checkState() == Qt::Checked;
    Preferences* preferences = &m_context.preferences;
    QMetaObject::invokeMethod(
        this, [preferences, bundle, hidden] { preferences->setHidden(bundle, hidden); },
        Qt::QueuedConnection);
}

void OrganizationSection::render()
{
    renderTexts();
    renderList();
    renderReasons();
    renderUnseen();
}

// Whatever the mode: an icon out of sight is lost to the user either way.
void OrganizationSection::renderUnseen()
{
    const QStringList found =
        m_context.services.unseen ? m_context.services.unseen() : QStringList();
    QStringList lines;
    for (const QString& line : found)
        lines << m_context.text(line);
    lines << QString() // a line apart: the remedy
          << m_context.text(u"Para verlos, oculta el grupo o ábrelos desde Iconos ocultos."_s);
    m_unseenTitle->setText(m_context.text(u"Iconos que no se ven"_s));
    m_unseen->setText(lines.join(u'\n'));
    m_unseenTitle->setVisible(!found.isEmpty());
    m_unseen->setVisible(!found.isEmpty());
}

void OrganizationSection::renderTexts()
{
    const SettingsData& record = m_context.preferences.data();
    m_title->setText(m_context.text(u"Organización"_s));
    m_mode->setOptions(m_context.text(u"Qué ocultar"_s),
                       {{m_context.text(u"Apps a la izquierda del icono"_s), boundaryMode},
                        {m_context.text(u"Apps elegidas en una lista"_s), manualMode}});
    m_mode->setCurrentValue(record.mode);
    m_explanation->setText(m_context.text(
        record.mode == boundaryMode
            ? u"Con todo visible, mantén ⌘ y arrastra nuestro icono. Las apps a su izquierda se "
              u"ocultarán; las de su derecha permanecerán visibles. Se vuelve a leer la posición "
              u"antes de colapsar."_s
            : u"Selecciona las apps que se ocultarán al pulsar nuestro icono. Su posición en la "
              u"barra no importa."_s));
    m_note->setText(m_context.text(u"Si una app tiene iconos a ambos lados, se mantiene visible. "
                                   u"Los elementos del sistema permanecen visibles."_s));
    m_refresh->setText(m_context.text(u"Actualizar apps detectadas"_s));
    m_toggle->setText(
        m_context.text(m_context.visibility.active() ? u"Mostrar todo"_s : u"Colapsar grupo"_s));
    m_warning->setText(m_context.text(u"No se pueden detectar ni ocultar apps sin autorizar esta "
                                      u"copia en Permisos y diagnóstico."_s));
    m_warning->setVisible(!m_context.inspector.isAuthorized());
    const QColor orange = ViewStyle::orange(palette());
    if (m_warning->palette().color(QPalette::WindowText) != orange) {
        QPalette warningColours = m_warning->palette();
        warningColours.setColor(QPalette::WindowText, orange);
        m_warning->setPalette(warningColours);
    }
    m_count->setText(m_context.text(QString::number(m_context.inspector.items().size()) +
                                    u" elementos detectados"_s));
}

void OrganizationSection::renderList()
{
    const SettingsData& record = m_context.preferences.data();
    const bool manual = record.mode == manualMode;
    const QList<ConfigurationView::ListedApp> apps =
        manual ? ConfigurationView::apps(m_context.inspector.items(), record.hiddenBundles,
                                         m_context.services.workspace.mainBundleIdentifier(),
                                         m_context.language())
               : QList<ConfigurationView::ListedApp>();
    if (!listShows(apps))
        fillList(apps);
    const QSignalBlocker quiet(m_list);
    for (int row = 0; row < m_list->count(); ++row) {
        QListWidgetItem* item = m_list->item(row);
        const bool hidden = record.hiddenBundles.contains(item->data(bundleRole).toString());
        item->setCheckState(hidden ? Qt::Checked : Qt::Unchecked);
    }
    m_list->setVisible(manual && !apps.isEmpty());
}

// In "boundary" mode, every application of the latest scan with the reason the boundary
// rule gives it, in the order of their bundle identifiers.
void OrganizationSection::renderReasons()
{
    const std::optional<Rect> boundary =
        m_context.services.boundary ? m_context.services.boundary() : std::nullopt;
    QList<PositionedItem> items;
    QHash<QString, QString> names;
    for (const ExternalItem& item : m_context.inspector.items()) {
        if (!item.bundleID)
            continue;
        items.append({*item.bundleID, item.frame});
        names.insert(*item.bundleID, item.app);
    }
    QList<BoundaryPolicy::Decision> decisions = BoundaryPolicy::decisions(
        items, boundary.value_or(Rect::null()),
        m_context.services.workspace.mainBundleIdentifier().value_or(QString()));
    // A scan while the group is hidden reads no place for the hidden items: they are hidden.
    const QSet<QString> hidden =
        m_context.visibility.active() ? m_context.visibility.hiddenTargets() : QSet<QString>();
    QStringList lines;
    for (BoundaryPolicy::Decision& decision : decisions) {
        if (hidden.contains(decision.bundle))
            decision.reason = BoundaryPolicy::Reason::Hidden;
        const QString name = names.value(decision.bundle);
        const QString who = name.isEmpty() || name == decision.bundle
                                ? decision.bundle
                                : u"%1 (%2)"_s.arg(name, decision.bundle);
        lines << who + u": "_s + m_context.text(BoundaryPolicy::reasonText(decision.reason));
    }
    const bool shows = m_context.preferences.data().mode == boundaryMode && !lines.isEmpty();
    m_reasonsTitle->setText(m_context.text(u"Por qué se oculta o no cada app detectada"_s));
    m_reasons->setText(lines.join(u'\n'));
    m_reasonsTitle->setVisible(shows);
    m_reasons->setVisible(shows);
}

bool OrganizationSection::listShows(const QList<ConfigurationView::ListedApp>& apps) const
{
    if (m_list->count() != apps.size())
        return false;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem* item = m_list->item(row);
        if (item->data(bundleRole).toString() != apps[row].bundle || item->text() != apps[row].name)
            return false;
    }
    return true;
}

// Rebuilt only when the rows themselves change, so that scrolling and focus survive the
// redraws that only flip a switch.
void OrganizationSection::fillList(const QList<ConfigurationView::ListedApp>& apps)
{
    const QSignalBlocker quiet(m_list);
    m_list->clear();
    for (const ConfigurationView::ListedApp& app : apps) {
        auto* item = new QListWidgetItem(app.name, m_list);
        item->setData(bundleRole, app.bundle);
        item->setToolTip(app.name == app.bundle ? app.bundle : app.name + u'\n' + app.bundle);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
    }
    const int rowHeight = apps.isEmpty() ? 0 : m_list->sizeHintForRow(0);
    m_list->setFixedHeight(int(apps.size()) * rowHeight + 2 * m_list->frameWidth());
}

} // namespace tk
