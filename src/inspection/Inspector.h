#pragma once

#include "inspection/AXScanner.h"
#include "inspection/ItemPress.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>

namespace tk {

class Accessibility;
class TimeSource;
class Workspace;

// The observable owner of the latest menu-bar scan. Lives on the main thread; only the
// scanner runs on a thread of its own, at raised priority, since a person waits for it.
// Overlapping requests share one walk.
class Inspector : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<ExternalItem> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(QString report READ report WRITE setReport NOTIFY reportChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY isScanningChanged)

public:
    // Called on the walk's own thread with a copy of the application list.
    using Scanner = std::function<ScanResult(const QList<ScanApp>&)>;
    // Called on a thread of its own: scans one application and presses one of its items.
    using Presser = std::function<PressOutcome(const ScanApp& app, const QString& path)>;
    // Called on the main thread.
    using AuthorizationCheck = std::function<bool()>;

    static inline const QString initialReport = QStringLiteral("Sin diagnóstico.");
    static inline const QString missingPermissionReport =
        QStringLiteral("Falta permiso de Accesibilidad para esta copia. Autoriza Tuckaway en "
                       "Ajustes y vuelve a actualizar.");

    Inspector(Scanner scanner, AuthorizationCheck authorizationCheck, const Workspace& workspace,
              QObject* parent = nullptr);
    // The default scanner (`AXScanner::scan` over this accessibility interface and clock)
    // and the default check (whether this process is trusted). Both references must
    // outlive the inspector.
    Inspector(Accessibility& accessibility, const Workspace& workspace, const TimeSource& time,
              QObject* parent = nullptr);
    // A running walk reads through references this object was given, so it is waited for;
    // the default scanner's walk is abandoned first: from then on every accessibility
    // request fails at once, so quitting waits for one message at most, never for the scan.
    ~Inspector() override;

    QList<ExternalItem> items() const { return m_items; }
    QString report() const { return m_report; }
    // Where the frontmost application's menus stood at the latest scan; set before
    // `itemsChanged` is emitted.
    std::optional<Rect> frontMenus() const { return m_frontMenus; }
    bool isScanning() const { return m_isScanning; }
    void setReport(const QString& report);

    // Evaluates the injected permission check, so that every caller decides alike.
    bool isAuthorized() const;

    // Scans the running applications other than this one. `done` is called on the main
    // thread once the published properties hold the outcome: at once when permission is
    // missing, otherwise when the walk (the running one, if any) has ended. The callers
    // of one walk are served in the order they asked.
    void scan(std::function<void()> done = {});

    // Scans the running application `pid` alone and presses its item at `path` (see
    // `ItemPress`) on a thread of its own; `done` is called on the main thread, never after
    // the inspector is gone. Leaves the published items and report as they were. Without
    // permission, or without a presser, it ends at once.
    void pressItem(qint32 pid, const QString& path, std::function<void(PressOutcome)> done);
    void setPresser(Presser presser) { m_presser = std::move(presser); }

Q_SIGNALS:
    void itemsChanged(const QList<ExternalItem>& items);
    void reportChanged(const QString& report);
    void isScanningChanged(bool isScanning);

private:
    struct Task;

    QList<ScanApp> applicationsToScan() const;
    void startTask(QList<ScanApp> apps);
    void finish(const ScanResult& result);
    bool publish(const ScanResult& result, const QPointer<Inspector>& self);
    void setItems(const QList<ExternalItem>& items);
    void setIsScanning(bool scanning);

    // Set once, when the inspector goes; the default scanner's walks read it.
    std::shared_ptr<std::atomic<bool>> m_abandoned = std::make_shared<std::atomic<bool>>(false);
    Scanner m_scanner;
    Presser m_presser;
    int m_pressing = 0; // presses under way
    AuthorizationCheck m_authorizationCheck;
    const Workspace& m_workspace;
    std::unique_ptr<Task> m_task;
    QList<ExternalItem> m_items;
    std::optional<Rect> m_frontMenus;
    QString m_report = initialReport;
    bool m_isScanning = false;
};

} // namespace tk
