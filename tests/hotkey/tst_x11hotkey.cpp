// The X11 key grab on a real X server. Runs where Qt is shown on X (for example under
// xvfb-run with QT_QPA_PLATFORM=xcb) and skips everywhere else.
#include "hotkey/GlobalHotKey.h"
#include "platform/linux/X11HotKeyService.h"

#include <QAbstractEventDispatcher>
#include <QGuiApplication>
#include <QTest>
#include <cstdlib>
#include <xcb/xcb.h>

using namespace tk;

namespace {

constexpr xcb_keysym_t keysymB = 0x62;
constexpr xcb_keysym_t keysymM = 0x6d;
constexpr uint16_t controlShift = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT;
constexpr uint16_t locks[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                              XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

// Another X client, holding grabs of its own.
using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

Connection otherClient()
{
    return {xcb_connect(nullptr, nullptr), &xcb_disconnect};
}

xcb_keycode_t keycode(xcb_connection_t* connection, xcb_keysym_t keysym)
{
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    xcb_get_keyboard_mapping_reply_t* reply = xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr);
    xcb_keycode_t found = 0;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply);
    for (int key = 0; key < count && !found; ++key) {
        if (keysyms[key * reply->keysyms_per_keycode] == keysym)
            found = xcb_keycode_t(setup->min_keycode + key);
    }
    std::free(reply);
    return found;
}

bool grab(xcb_connection_t* connection, xcb_keysym_t keysym, uint16_t modifiers)
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_generic_error_t* error = xcb_request_check(
        connection,
        xcb_grab_key_checked(connection, 0, root, modifiers, keycode(connection, keysym),
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    std::free(error);
    return error == nullptr;
}

// A key event of a grabbed key, handed to the native event filters as Qt's X connection does.
void deliver(uint8_t type, xcb_keycode_t keycode, uint16_t state, xcb_timestamp_t time)
{
    xcb_key_press_event_t event{};
    event.response_type = type;
    event.detail = keycode;
    event.state = state;
    event.time = time;
    qintptr result = 0;
    QAbstractEventDispatcher::instance()->filterNativeEvent("xcb_generic_event_t", &event, &result);
}

} // namespace

class TestX11HotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void grabbedForEveryLockAndPressed();
};

void TestX11HotKey::grabbedForEveryLockAndPressed()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("Not shown on an X display");
    const std::unique_ptr<X11HotKeyService> service = X11HotKeyService::forApplication();
    QVERIFY(service);
    using S = HotKeyService;
    const S::HotKeyId id = GlobalHotKey::identifier;
    const quint32 macControlShift = S::controlMask | S::shiftMask;
    // A (Mac key code 0) is none of the shortcut's keys; 0x0400 is no modifier of it.
    QCOMPARE(service->registerHotKey(0x00, S::controlMask, id).status, S::hotKeyInvalid);
    QCOMPARE(service->registerHotKey(S::keyCodeM, 0x0400, id).status, S::hotKeyInvalid);
    const Connection holder = otherClient();
    QVERIFY(grab(holder.get(), keysymM, controlShift));
    QCOMPARE(service->registerHotKey(S::keyCodeM, macControlShift, id).status, S::hotKeyExists);
    GlobalHotKey hotKey(*service);
    int presses = 0;
    hotKey.configure(HotKeySettings{true, "B", "controlShift", "toggle"}, [&] { ++presses; });
    QCOMPARE(service->registerHotKey(S::keyCodeB, macControlShift, id).status, S::hotKeyExists);

    // Held, and pressed, with CapsLock and NumLock on or off; a key held down repeats its
    // press without a release, or with a release at the very time of the next press.
    const Connection other = otherClient();
    const xcb_keycode_t b = keycode(other.get(), keysymB);
    xcb_timestamp_t time = 1000;
    for (const uint16_t lock : locks) {
        QVERIFY(!grab(other.get(), keysymB, controlShift | lock));
        deliver(XCB_KEY_PRESS, b, controlShift | lock, ++time);
        deliver(XCB_KEY_PRESS, b, controlShift | lock, ++time);
        deliver(XCB_KEY_RELEASE, b, controlShift | lock, ++time);
        deliver(XCB_KEY_PRESS, b, controlShift | lock, time);
        deliver(XCB_KEY_RELEASE, b, controlShift | lock, ++time);
    }
    QCOMPARE(presses, 4);
    hotKey.stop();
    for (const uint16_t lock : locks)
        QVERIFY(grab(other.get(), keysymB, controlShift | lock));
}

QTEST_MAIN(TestX11HotKey)
#include "tst_x11hotkey.moc"
