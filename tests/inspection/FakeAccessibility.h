#pragma once

#include "inspection/Accessibility.h"

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <functional>

namespace tk {

// Accessibility trees written as literals, for tests that need exact control over what
// every read answers. Counts the reads so tests can tell what was never asked.
class FakeElement final : public AXElement {
public:
    QHash<QString, AXAttribute> attributes;
    std::optional<QStringList> actions;
    AXSettable positionSettable{AXResult::success, true};
};
using FakeElementPtr = std::shared_ptr<FakeElement>;

namespace fake {

inline AXAttribute of(AXAttribute::Kind kind)
{
    AXAttribute a;
    a.kind = kind;
    return a;
}

inline AXAttribute failed(qint32 error)
{
    AXAttribute a;
    a.error = error;
    return a;
}

inline AXAttribute other()
{
    return of(AXAttribute::Kind::Other);
}

inline AXAttribute string(const QString& value)
{
    AXAttribute a = of(AXAttribute::Kind::String);
    a.string = value;
    return a;
}

inline AXAttribute element(AXElementRef value)
{
    AXAttribute a = of(AXAttribute::Kind::Element);
    a.element = std::move(value);
    return a;
}

inline AXAttribute point(double x, double y)
{
    AXAttribute a = of(AXAttribute::Kind::PointValue);
    a.point = QPointF(x, y);
    return a;
}

inline AXAttribute size(double width, double height)
{
    AXAttribute a = of(AXAttribute::Kind::SizeValue);
    a.size = QSizeF(width, height);
    return a;
}

inline void setChildren(const FakeElementPtr& parent, const QList<FakeElementPtr>& children)
{
    AXAttribute a = of(AXAttribute::Kind::ElementList);
    for (const FakeElementPtr& child : children)
        a.elements << child;
    parent->attributes.insert(QStringLiteral("AXChildren"), a);
}

// A node with a role, a title and children; a frame when `width` is positive.
inline FakeElementPtr node(const QString& role, const QString& title = {},
                           const QList<FakeElementPtr>& children = {}, double x = 0,
                           double width = 0)
{
    auto e = std::make_shared<FakeElement>();
    e->attributes.insert(QStringLiteral("AXRole"), string(role));
    if (!title.isNull())
        e->attributes.insert(QStringLiteral("AXTitle"), string(title));
    if (width > 0) {
        e->attributes.insert(QStringLiteral("AXPosition"), point(x, 0));
        e->attributes.insert(QStringLiteral("AXSize"), size(width, 24));
    }
    if (!children.isEmpty())
        setChildren(e, children);
    return e;
}

inline FakeElementPtr item(const QString& title, const QList<FakeElementPtr>& children = {})
{
    return node(QStringLiteral("AXMenuBarItem"), title, children);
}

inline FakeElementPtr extras(const QList<FakeElementPtr>& children)
{
    return node(QStringLiteral("AXMenuBar"), QString(), children);
}

} // namespace fake

class FakeAccessibility final : public Accessibility {
public:
    // Runs before every read of an attribute, with the element and the attribute's name;
    // tests use it to let virtual time pass.
    std::function<void(const FakeElement&, const QString&)> beforeRead;
    bool trusted = true;

    void addApplication(qint32 pid, const FakeElementPtr& extrasMenuBar)
    {
        auto app = std::make_shared<FakeElement>();
        if (extrasMenuBar)
            app->attributes.insert(QStringLiteral("AXExtrasMenuBar"), fake::element(extrasMenuBar));
        m_applications.insert(pid, app);
    }

    AXElementRef applicationElement(qint32 pid) override
    {
        QMutexLocker lock(&m_mutex);
        m_applicationsAsked << pid;
        auto app = m_applications.value(pid);
        return app ? app : std::make_shared<FakeElement>();
    }

    void setMessagingTimeout(const AXElementRef&, double seconds) override
    {
        QMutexLocker lock(&m_mutex);
        m_timeouts << seconds;
    }

    AXAttribute attribute(const AXElementRef& element, const QString& name) override
    {
        const auto& e = static_cast<const FakeElement&>(*element);
        if (beforeRead)
            beforeRead(e, name);
        QMutexLocker lock(&m_mutex);
        m_reads.insert(qMakePair(&e, name), m_reads.value(qMakePair(&e, name)) + 1);
        return e.attributes.value(name, fake::failed(AXResult::noValue));
    }

    std::optional<QStringList> actionNames(const AXElementRef& element) override
    {
        return static_cast<const FakeElement&>(*element).actions;
    }

    AXSettable isAttributeSettable(const AXElementRef& element, const QString&) override
    {
        return static_cast<const FakeElement&>(*element).positionSettable;
    }

    bool isProcessTrusted() override { return trusted; }
    bool promptForTrust() override { return trusted; }

    int reads(const FakeElementPtr& element, const QString& name) const
    {
        QMutexLocker lock(&m_mutex);
        return m_reads.value(qMakePair(static_cast<const FakeElement*>(element.get()), name));
    }
    QList<qint32> applicationsAsked() const
    {
        QMutexLocker lock(&m_mutex);
        return m_applicationsAsked;
    }
    QList<double> timeouts() const
    {
        QMutexLocker lock(&m_mutex);
        return m_timeouts;
    }

private:
    mutable QMutex m_mutex;
    QHash<qint32, FakeElementPtr> m_applications;
    QHash<QPair<const FakeElement*, QString>, int> m_reads;
    QList<qint32> m_applicationsAsked;
    QList<double> m_timeouts;
};

} // namespace tk
