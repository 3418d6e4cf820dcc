#include "AXScanner.h"

#include "core/Time.h"

#include <algorithm>
#include <array>

namespace tk {

namespace AXScanner {
namespace {

const QString extrasMenuBarAttribute = QStringLiteral("AXExtrasMenuBar");
const QString roleAttribute = QStringLiteral("AXRole");
const QString titleAttribute = QStringLiteral("AXTitle");
const QString descriptionAttribute = QStringLiteral("AXDescription");
const QString positionAttribute = QStringLiteral("AXPosition");
const QString sizeAttribute = QStringLiteral("AXSize");
const QString childrenAttribute = QStringLiteral("AXChildren");

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

bool needsEscape(QChar c)
{
    return c == u'\\' || c == u'"' || c.unicode() < 0x20 || c.unicode() == 0x7f;
}

void appendEscaped(QString& out, const QString& name)
{
    // Action names are nearly always plain: copied whole.
    if (std::none_of(name.cbegin(), name.cend(), needsEscape)) {
        out += name;
        return;
    }
    for (const QChar c : name) {
        switch (c.unicode()) {
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        case 0:
            out += QStringLiteral("\\0");
            break;
        default:
            if (c.unicode() < 0x20 || c.unicode() == 0x7f)
                out += QStringLiteral("\\u{%1}").arg(c.unicode(), 0, 16);
            else
                out += c;
        }
    }
}

void appendActionList(QString& out, const QStringList& actions)
{
    out += QLatin1Char('[');
    for (qsizetype i = 0; i < actions.size(); ++i) {
        if (i > 0)
            out += QLatin1String(", ");
        out += QLatin1Char('"');
        appendEscaped(out, actions.at(i));
        out += QLatin1Char('"');
    }
    out += QLatin1Char(']');
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

    void appendTo(QString& out) const
    {
        out += QLatin1String("extras");
        for (int i = 0; i < depth; ++i) {
            out += QLatin1Char('.');
            out += QString::number(indices[std::size_t(i)]);
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
        const AXAttribute extras = m_ax.attribute(application, extrasMenuBarAttribute);
        if (!readsAs(extras, AXAttribute::Kind::Element) || !extras.element)
            return;
        m_app = &app;
        m_appName = app.name.value_or(QStringLiteral("App"));
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

private:
    void visit(const AXElementRef& element, int level, const Path& path)
    {
        if (pastDeadline() || level > deepestLevel || m_counter > elementsPerApplication - 1)
            return;
        ++m_counter;
        // A timeout set on an element does not carry to the elements read from it.
        m_ax.setMessagingTimeout(element, messagingTimeout);
        const QString role = stringOf(m_ax.attribute(element, roleAttribute));
        if (role == QLatin1String("AXMenuBarItem") || role == QLatin1String("AXButton"))
            record(element, path);
        // No child would be visited: a request now could only overrun the deadline.
        if (pastDeadline())
            return;
        const AXAttribute children = m_ax.attribute(element, childrenAttribute);
        if (!readsAs(children, AXAttribute::Kind::ElementList))
            return;
        for (qsizetype i = 0; i < children.elements.size(); ++i)
            visit(children.elements[i], level + 1, path.child(i));
    }

    static QString stringOf(const AXAttribute& attribute)
    {
        return readsAs(attribute, AXAttribute::Kind::String) ? attribute.string : QString();
    }

    QString titleOf(const AXElementRef& element)
    {
        const AXAttribute title = m_ax.attribute(element, titleAttribute);
        if (readsAs(title, AXAttribute::Kind::String) && !title.string.isEmpty())
            return title.string;
        const AXAttribute description = m_ax.attribute(element, descriptionAttribute);
        if (readsAs(description, AXAttribute::Kind::String))
            return description.string;
        return QStringLiteral("Icono sin etiqueta");
    }

    void record(const AXElementRef& element, const Path& path)
    {
        ExternalItem item;
        item.title = titleOf(element);
        item.actions = m_ax.actionNames(element).value_or(QStringList());
        const AXSettable settable = m_ax.isAttributeSettable(element, positionAttribute);
        item.frame = frame(m_ax, element);
        item.bundleID = m_app->bundle;
        item.app = m_appName;
        item.id.reserve(m_idPrefix.size() + 16 + item.title.size());
        item.id += m_idPrefix;
        path.appendTo(item.id);
        item.id += QLatin1Char(':');
        item.id += item.title;
        item.element = element;
        item.positionWritable = settable.settable && settable.error == AXResult::success;
        appendReportLine(item, settable);
        items << std::move(item);
    }

    void appendReportLine(const ExternalItem& item, const AXSettable& settable)
    {
        report += QLatin1Char('\n');
        report += item.app;
        report += QLatin1String(" / ");
        report += item.title;
        report += QLatin1String(": acciones=");
        appendActionList(report, item.actions);
        report += u"; posición modificable=";
        report += settable.settable ? QLatin1String("true") : QLatin1String("false");
        report += QLatin1String("; consulta=");
        report += QString::number(settable.error);
        report += QLatin1String("; frame=");
        if (item.frame)
            item.frame->appendText(report);
        else
            report += QLatin1String("nil");
    }

    Accessibility& m_ax;
    const TimeSource& m_time;
    const double m_deadline;
    const ScanApp* m_app = nullptr;
    QString m_appName;
    QString m_idPrefix; // bundle (or decimal pid) and ":"
    int m_counter = 0;
};

} // namespace

ScanResult scan(const QList<ScanApp>& apps, const ScanEnvironment& environment)
{
    Walk walk(environment);
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
    return {std::move(walk.items), std::move(walk.report)};
}

std::optional<Rect> frame(Accessibility& accessibility, const AXElementRef& element)
{
    const AXAttribute position = accessibility.attribute(element, positionAttribute);
    if (!isAccessibilityValue(position))
        return std::nullopt;
    const AXAttribute size = accessibility.attribute(element, sizeAttribute);
    if (!isAccessibilityValue(size))
        return std::nullopt;
    if (position.kind != AXAttribute::Kind::PointValue ||
        size.kind != AXAttribute::Kind::SizeValue || !position.point || !size.size)
        return std::nullopt;
    return Rect{position.point->x(), position.point->y(), size.size->width(), size.size->height()};
}

QString actionListText(const QStringList& actions)
{
    QString text;
    appendActionList(text, actions);
    return text;
}

} // namespace AXScanner

} // namespace tk
