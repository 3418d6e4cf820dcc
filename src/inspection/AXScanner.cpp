#include "AXScanner.h"

#include "core/Time.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace tk {

namespace AXScanner {
namespace {

using namespace std::string_view_literals;
using namespace Qt::StringLiterals;

const QString extrasMenuBarAttribute = QStringLiteral("AXExtrasMenuBar");
const QString menuBarAttribute = QStringLiteral("AXMenuBar");
const QString roleAttribute = QStringLiteral("AXRole");
const QString titleAttribute = QStringLiteral("AXTitle");
const QString descriptionAttribute = QStringLiteral("AXDescription");
const QString positionAttribute = QStringLiteral("AXPosition");
const QString sizeAttribute = QStringLiteral("AXSize");
const QString childrenAttribute = QStringLiteral("AXChildren");

// What the walk reads of every element, in one request: whether it is an item, what it is
// called, where it stands and what lies below it. Each attribute keeps its own result.
const QStringList elementAttributes = {roleAttribute,     titleAttribute, descriptionAttribute,
                                       positionAttribute, sizeAttribute,  childrenAttribute};
enum ElementAttribute { Role, Title, Description, Position, Size, Children };
const QStringList frameAttributes = {positionAttribute, sizeAttribute};

bool readsAs(const AXAttribute& attribute, AXAttribute::Kind kind)
{
    return attribute.error == AXResult::success && attribute.kind == kind;
}

bool isAccessibilityValue(const AXAttribute& attribute)
{
    return readsAs(attribute, AXAttribute::Kind::PointValue) ||
           readsAs(attribute, AXAttribute::Kind::SizeValue) ||
           readsAs(attribute, AXAttribute::Kind::OtherValue);
}

// Text put together in place, a piece at a time, and handed on whole: an item's id and its
// report line are each a few dozen short pieces. Kept for a whole scan, so that its room
// is made once.
class TextBuilder {
public:
    TextBuilder& operator<<(std::u16string_view text)
    {
        return append(text.data(), qsizetype(text.size()));
    }
    TextBuilder& operator<<(QStringView text) { return append(text.utf16(), text.size()); }
    TextBuilder& operator<<(char16_t c) { return append(&c, 1); }
    void appendNumber(qint64 number)
    {
        makeRoom(maxWholeNumberSize);
        m_size = writeWholeNumber(m_text.data() + m_size, number) - m_text.data();
    }
    void appendFrame(const Rect& frame)
    {
        makeRoom(Rect::maxTextSize);
        m_size = frame.writeText(m_text.data() + m_size) - m_text.data();
    }
    QStringView text() const { return {m_text.data(), m_size}; }
    void clear() { m_size = 0; }

private:
    TextBuilder& append(const char16_t* text, qsizetype size)
    {
        makeRoom(size);
        std::copy_n(text, size, m_text.data() + m_size);
        m_size += size;
        return *this;
    }
    void makeRoom(qsizetype size)
    {
        const qsizetype needed = m_size + size;
        if (needed > qsizetype(m_text.size()))
            m_text.resize(std::max(2 * m_text.size(), std::size_t(needed)));
    }

    std::vector<char16_t> m_text = std::vector<char16_t>(512);
    qsizetype m_size = 0;
};

bool needsEscape(char16_t c)
{
    return c == u'\\' || c == u'"' || c < 0x20 || c == 0x7f;
}

void appendEscaped(TextBuilder& out, const QString& name)
{
    // Action names are nearly always plain: copied whole.
    const auto plain = [](QChar c) { return !needsEscape(c.unicode()); };
    if (std::all_of(name.cbegin(), name.cend(), plain)) {
        out << name;
        return;
    }
    for (const QChar c : name) {
        switch (c.unicode()) {
        case '\\':
            out << u"\\\\"sv;
            break;
        case '"':
            out << u"\\\""sv;
            break;
        case '\n':
            out << u"\\n"sv;
            break;
        case '\r':
            out << u"\\r"sv;
            break;
        case '\t':
            out << u"\\t"sv;
            break;
        case 0:
            out << u"\\0"sv;
            break;
        default:
            if (c.unicode() < 0x20 || c.unicode() == 0x7f)
                out << QStringLiteral("\\u{%1}").arg(c.unicode(), 0, 16);
            else
                out << c.unicode();
        }
    }
}

void appendActionList(TextBuilder& out, const QStringList& actions)
{
    out << u'[';
    for (qsizetype i = 0; i < actions.size(); ++i) {
        if (i > 0)
            out << u", "sv;
        out << u'"';
        appendEscaped(out, actions.at(i));
        out << u'"';
    }
    out << u']';
}

// Where an element stands below the extras menu bar: its index among its siblings at
// each level. Turned into text only for the elements that become items.
struct Path {
    std::array<qsizetype, deepestLevel> indices{};
    int depth = 0;

    Path child(qsizetype index) const
    {
        Path next = *this;
        next.indices[std::size_t(depth)] = index;
        ++next.depth;
        return next;
    }

    void appendTo(TextBuilder& out) const
    {
        out << u"extras"sv;
        for (int i = 0; i < depth; ++i) {
            out << u'.';
            out.appendNumber(indices[std::size_t(i)]);
        }
    }
};

// The state of one scan: everything belongs to the one call.
class Walk {
public:
    explicit Walk(const ScanEnvironment& environment)
        : m_ax(environment.accessibility), m_time(environment.time),
          m_deadline(environment.time.now() + timeLimit)
    {
    }

    bool pastDeadline() const { return !(m_time.now() < m_deadline); }

    void scanApplication(const ScanApp& app)
    {
        const AXElementRef application = m_ax.applicationElement(app.pid);
        if (!application)
            return;
        m_ax.setMessagingTimeout(application, messagingTimeout);
        if (app.frontmost)
            readFrontMenus(application);
        const AXAttribute extras = m_ax.attribute(application, extrasMenuBarAttribute);
        if (!readsAs(extras, AXAttribute::Kind::Element) || !extras.element)
            return;
        m_app = &app;
        m_appName = app.name.value_or(unnamedApplication);
        m_idPrefix = app.bundle.value_or(QString::number(app.pid)) + QLatin1Char(':');
        m_counter = 0;
        visit(extras.element, 0, Path{});
    }

    void addLine(const QString& line)
    {
        if (!report.isEmpty())
            report += QLatin1Char('\n');
        report += line;
    }

    QList<ExternalItem> items;
    QString report; // one line per item, after the header
    std::optional<Rect> frontMenus;

private:
    // The menus stand side by side, left to right: the first one's left edge and the last
    // one's right edge are where they begin and end.
    void readFrontMenus(const AXElementRef& application)
    {
        if (pastDeadline())
            return;
        const AXAttribute bar = m_ax.attribute(application, menuBarAttribute);
        if (!readsAs(bar, AXAttribute::Kind::Element) || !bar.element || pastDeadline())
            return;
        m_ax.setMessagingTimeout(bar.element, messagingTimeout);
        const AXAttribute menus = m_ax.attribute(bar.element, childrenAttribute);
        if (!readsAs(menus, AXAttribute::Kind::ElementList) || menus.elements.isEmpty())
            return;
        const std::optional<Rect> first = menuFrame(menus.elements.constFirst());
        const std::optional<Rect> last =
            menus.elements.size() == 1 ? first : menuFrame(menus.elements.constLast());
        if (!first || !last)
            return;
        const double top = std::min(first->minY(), last->minY());
        frontMenus = Rect{first->minX(), top, last->maxX() - first->minX(),
                          std::max(first->maxY(), last->maxY()) - top};
    }

    std::optional<Rect> menuFrame(const AXElementRef& menu)
    {
        if (pastDeadline())
            return std::nullopt;
        m_ax.setMessagingTimeout(menu, messagingTimeout);
        const QList<AXAttribute> place = m_ax.attributes(menu, frameAttributes);
        return frameOf(place[0], place[1]);
    }

    void visit(const AXElementRef& element, int level, const Path& path)
    {
        if (pastDeadline() || level > deepestLevel || m_counter > elementsPerApplication - 1)
            return;
        ++m_counter;
        // A timeout set on an element does not carry to the elements read from it.
        m_ax.setMessagingTimeout(element, messagingTimeout);
        QList<AXAttribute> read = m_ax.attributes(element, elementAttributes);
        if (isItemRole(read[Role]))
            record(element, path, read);
        // Past the deadline, no child is visited: each visit looks at the time first.
        const AXAttribute& children = read[Children];
        if (!readsAs(children, AXAttribute::Kind::ElementList))
            return;
        for (qsizetype i = 0; i < children.elements.size(); ++i)
            visit(children.elements[i], level + 1, path.child(i));
    }

    static bool isItemRole(const AXAttribute& role)
    {
        return readsAs(role, AXAttribute::Kind::String) &&
               (role.string == u"AXMenuBarItem"_s || role.string == u"AXButton"_s);
    }

    static QString titleOf(QList<AXAttribute>& read)
    {
        AXAttribute& title = read[Title];
        if (readsAs(title, AXAttribute::Kind::String) && !title.string.isEmpty())
            return std::move(title.string);
        AXAttribute& description = read[Description];
        if (readsAs(description, AXAttribute::Kind::String))
            return std::move(description.string);
        return QStringLiteral("Icono sin etiqueta");
    }

    // Records the item: only its actions and whether it can be moved take requests of their
    // own.
    void record(const AXElementRef& element, const Path& path, QList<AXAttribute>& read)
    {
        ExternalItem& item = items.emplaceBack();
        item.title = titleOf(read);
        if (std::optional<QStringList> actions = m_ax.actionNames(element))
            item.actions = std::move(*actions);
        const AXSettable settable = m_ax.isAttributeSettable(element, positionAttribute);
        item.frame = frameOf(read[Position], read[Size]);
        item.bundleID = m_app->bundle;
        item.app = m_appName;
        m_text.clear();
        m_text << m_idPrefix;
        path.appendTo(m_text);
        m_text << u':' << item.title;
        item.id = m_text.text().toString();
        item.element = element;
        item.positionWritable = settable.settable && settable.error == AXResult::success;
        appendReportLine(item, settable);
    }

    void appendReportLine(const ExternalItem& item, const AXSettable& settable)
    {
        m_text.clear();
        m_text << u'\n' << item.app << u" / "sv << item.title << u": acciones="sv;
        appendActionList(m_text, item.actions);
        m_text << u"; posición modificable="sv << (settable.settable ? u"true"sv : u"false"sv)
               << u"; consulta="sv;
        m_text.appendNumber(settable.error);
        m_text << u"; frame="sv;
        if (item.frame)
            m_text.appendFrame(*item.frame);
        else
            m_text << u"nil"sv;
        report += m_text.text();
    }

    Accessibility& m_ax;
    const TimeSource& m_time;
    const double m_deadline;
    const ScanApp* m_app = nullptr;
    QString m_appName;
    QString m_idPrefix; // bundle (or decimal pid) and ":"
    int m_counter = 0;
    TextBuilder m_text; // the id or report line being written
};

} // namespace

ScanResult scan(const QList<ScanApp>& apps, const ScanEnvironment& environment)
{
    Walk walk(environment);
    // Room for a report line of every element the walk may record, up to a bound, given back
    // at the end: room never written costs no memory, and the text is not copied as it grows.
    constexpr qsizetype lineRoom = 128;
    constexpr qsizetype reportRoomLimit = qsizetype(1) << 21; // characters
    walk.report.reserve(std::min(apps.size() * elementsPerApplication * lineRoom, reportRoomLimit));
    const QDateTime started = environment.time.currentDateTime().toUTC();
    walk.addLine(QStringLiteral("Fecha: ") + started.toString(Qt::ISODate));
    walk.addLine(QStringLiteral("macOS ") + environment.operatingSystemVersion);
    walk.addLine(QStringLiteral("Accessibility autorizado: sí"));
    for (const ScanApp& app : apps) {
        if (walk.pastDeadline()) {
            walk.addLine(QStringLiteral("Exploración parcial: se alcanzó el límite de tiempo."));
            break;
        }
        walk.scanApplication(app);
    }
    walk.addLine(QStringLiteral("Detectados: ") + QString::number(walk.items.size()) +
                 QStringLiteral(". No se ha modificado ningún icono externo. La ausencia de "
                                "resultados no demuestra ausencia de iconos."));
    walk.report.squeeze();
    return {std::move(walk.items), std::move(walk.report), walk.frontMenus};
}

std::optional<Rect> frame(Accessibility& accessibility, const AXElementRef& element)
{
    const QList<AXAttribute> place = accessibility.attributes(element, frameAttributes);
    return frameOf(place[0], place[1]);
}

std::optional<Rect> frameOf(const AXAttribute& position, const AXAttribute& size)
{
    if (!isAccessibilityValue(position) || !isAccessibilityValue(size))
        return std::nullopt;
    if (position.kind != AXAttribute::Kind::PointValue ||
        size.kind != AXAttribute::Kind::SizeValue || !position.point || !size.size)
        return std::nullopt;
    return Rect{position.point->x(), position.point->y(), size.size->width(), size.size->height()};
}

} // namespace AXScanner

} // namespace tk
