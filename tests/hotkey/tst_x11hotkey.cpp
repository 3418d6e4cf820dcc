// The X11 key grab on a real X server. Runs where Qt is shown on X (for example under
// xvfb-run with QT_QPA_PLATFORM=xcb) and skips everywhere else.
#include "hotkey/GlobalHotKey.h"
#include "platform/linux/X11HotKeyService.h"

#include <QGuiApplication>
#include <QTest>
#include <cstdlib>
#include <sys/uio.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

using namespace tk;

namespace {

constexpr xcb_keysym_t keysymB = 0x62;
constexpr xcb_keysym_t keysymM = 0x6d;
constexpr xcb_keysym_t keysymControl = 0xffe3;
constexpr xcb_keysym_t keysymAlt = 0xffe9;
constexpr xcb_keysym_t keysymSuper = 0xffeb;
constexpr xcb_keysym_t keysymCapsLock = 0xffe5;

const QString registeredLine =
    QStringLiteral("Atajo registrado. No se solicita monitorización de entrada.");
const QString takenLine = QStringLiteral("No se pudo registrar el atajo (-9878). Puede estar "
                                         "ocupado; cambia la combinación o desactívalo.");

xcb_extension_t xtest = {"XTEST", 0};

// Another X client: it types through the XTEST extension and grabs keys of its own.
class OtherClient {
public:
    OtherClient() : m_connection(xcb_connect(nullptr, nullptr)) {}
    ~OtherClient() { xcb_disconnect(m_connection); }
    OtherClient(const OtherClient&) = delete;
    OtherClient& operator=(const OtherClient&) = delete;

    bool canType() const
    {
        const xcb_query_extension_reply_t* extension = xcb_get_extension_data(m_connection, &xtest);
        return !xcb_connection_has_error(m_connection) && extension && extension->present;
    }

    xcb_window_t root() const
    {
        return xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }

    xcb_keycode_t keycode(xcb_keysym_t keysym) const
    {
        const xcb_setup_t* setup = xcb_get_setup(m_connection);
        const int count = setup->max_keycode - setup->min_keycode + 1;
        xcb_get_keyboard_mapping_reply_t* reply = xcb_get_keyboard_mapping_reply(
            m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count),
            nullptr);
        xcb_keycode_t found = 0;
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply);
        for (int key = 0; key < count && !found; ++key) {
            if (keysyms[key * reply->keysyms_per_keycode] == keysym)
                found = xcb_keycode_t(setup->min_keycode + key);
        }
        std::free(reply);
        return found;
    }

    // Presses the keys in order and releases them in reverse.
    void type(std::initializer_list<xcb_keysym_t> keysyms)
    {
        for (const xcb_keysym_t keysym : keysyms)
            fakeKey(XCB_KEY_PRESS, keycode(keysym));
        for (auto it = std::rbegin(keysyms); it != std::rend(keysyms); ++it)
            fakeKey(XCB_KEY_RELEASE, keycode(*it));
    }

    bool grab(xcb_keysym_t keysym, uint16_t modifiers)
    {
        xcb_generic_error_t* error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 0, root(), modifiers, keycode(keysym),
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }

    void release(xcb_keysym_t keysym, uint16_t modifiers)
    {
        std::free(
            xcb_request_check(m_connection, xcb_ungrab_key_checked(m_connection, keycode(keysym),
                                                                   root(), modifiers)));
    }

private:
    void fakeKey(uint8_t type, xcb_keycode_t keycode)
    {
        struct FakeInput {
            uint8_t majorOpcode;
            uint8_t minorOpcode;
            uint16_t length;
            uint8_t type;
            uint8_t detail;
            uint8_t pad0[2];
            uint32_t time;
            xcb_window_t root;
            uint8_t pad1[8];
            int16_t rootX;
            int16_t rootY;
            uint8_t pad2[7];
            uint8_t deviceId;
        } request{};
        static_assert(sizeof(FakeInput) == 36);
        request.type = type;
        request.detail = keycode;
        static const xcb_protocol_request_t fakeInput = {2, &xtest, 2, 1};
        iovec parts[4] = {};
        parts[2].iov_base = &request;
        parts[2].iov_len = sizeof(request);
        std::free(xcb_request_check(
            m_connection,
            {xcb_send_request(m_connection, XCB_REQUEST_CHECKED, parts + 2, &fakeInput)}));
    }

    xcb_connection_t* m_connection;
};

HotKeySettings shortcut(const QString& key, const QString& modifiers)
{
    HotKeySettings settings;
    settings.key = key;
    settings.modifiers = modifiers;
    return settings;
}

} // namespace

class TestX11HotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pressesArriveWithAndWithoutCapsLock();
    void grabOfAnotherClientIsTakenUntilReleased();
    void stopReleasesTheGrab();
    void combinationsWithoutAnXKeyAreRefused();

private:
    std::unique_ptr<X11HotKeyService> m_service;
};

void TestX11HotKey::initTestCase()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("Not shown on an X display");
    m_service = X11HotKeyService::forApplication();
    QVERIFY(m_service);
    if (!OtherClient().canType())
        QSKIP("The X server cannot type (no XTEST extension)");
}

void TestX11HotKey::pressesArriveWithAndWithoutCapsLock()
{
    GlobalHotKey hotKey(*m_service);
    int presses = 0;
    QCOMPARE(hotKey.configure(shortcut("M", "controlOptionCommand"), [&] { ++presses; }),
             registeredLine);
    OtherClient keyboard;

    keyboard.type({keysymControl, keysymAlt, keysymSuper, keysymM});
    QTRY_COMPARE(presses, 1);

    keyboard.type({keysymCapsLock});
    keyboard.type({keysymControl, keysymAlt, keysymSuper, keysymM});
    keyboard.type({keysymCapsLock});
    QTRY_COMPARE(presses, 2);
}

void TestX11HotKey::grabOfAnotherClientIsTakenUntilReleased()
{
    GlobalHotKey hotKey(*m_service);
    const HotKeySettings settings = shortcut("B", "controlShift");
    OtherClient holder;
    QVERIFY(holder.grab(keysymB, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT));
    QCOMPARE(hotKey.configure(settings, {}), takenLine);
    QVERIFY(!hotKey.isRegistered());

    holder.release(keysymB, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT);
    QCOMPARE(hotKey.configure(settings, {}), registeredLine);
}

void TestX11HotKey::stopReleasesTheGrab()
{
    GlobalHotKey hotKey(*m_service);
    QCOMPARE(hotKey.configure(shortcut("M", "controlShift"), {}), registeredLine);
    OtherClient other;
    QVERIFY(!other.grab(keysymM, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK));

    hotKey.stop();
    QVERIFY(other.grab(keysymM, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK));
}

void TestX11HotKey::combinationsWithoutAnXKeyAreRefused()
{
    const HotKeyService::HotKeyId id = GlobalHotKey::identifier;
    QCOMPARE(m_service->registerHotKey(0x00, HotKeyService::controlMask, id).status,
             HotKeyService::hotKeyInvalid); // A: not one of the shortcut's keys
    QCOMPARE(m_service->registerHotKey(HotKeyService::keyCodeM, 0x0400, id).status,
             HotKeyService::hotKeyInvalid); // a mask bit outside the four modifiers

    const auto first =
        m_service->registerHotKey(HotKeyService::keyCodeSpace, HotKeyService::controlMask, id);
    QCOMPARE(first.status, HotKeyService::noError);
    QCOMPARE(m_service->registerHotKey(HotKeyService::keyCodeSpace, HotKeyService::controlMask, id)
                 .status,
             HotKeyService::hotKeyExists);
    m_service->unregisterHotKey(first.ref);
}

QTEST_MAIN(TestX11HotKey)
#include "tst_x11hotkey.moc"
