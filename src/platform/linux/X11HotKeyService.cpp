#include "X11HotKeyService.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <utility>
#include <vector>
#include <xcb/xcb.h>

namespace tk {

namespace {

// Keysyms of the keys the Mac's codes name (the lower-case letter, the space bar).
constexpr xcb_keysym_t keysymB = 0x0062;
constexpr xcb_keysym_t keysymM = 0x006d;
constexpr xcb_keysym_t keysymSpace = 0x0020;

// Lock keys change the state an X key event carries but not what the person means: a grab
// is made for each of their combinations (NumLock is Mod2 on every usual keymap).
constexpr uint16_t lockVariants[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                     XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
constexpr uint16_t meaningfulModifiers = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL |
                                         XCB_MOD_MASK_1 | XCB_MOD_MASK_3 | XCB_MOD_MASK_4 |
                                         XCB_MOD_MASK_5;

std::optional<xcb_keysym_t> keysymFor(quint32 keyCode)
{
    switch (keyCode) {
    case HotKeyService::keyCodeB:
        return keysymB;
    case HotKeyService::keyCodeM:
        return keysymM;
    case HotKeyService::keyCodeSpace:
        return keysymSpace;
    }
    return std::nullopt;
}

std::optional<uint16_t> modifiersFor(quint32 mask)
{
    constexpr std::pair<quint32, uint16_t> table[] = {
        {HotKeyService::commandMask, XCB_MOD_MASK_4},
        {HotKeyService::shiftMask, XCB_MOD_MASK_SHIFT},
        {HotKeyService::optionMask, XCB_MOD_MASK_1},
        {HotKeyService::controlMask, XCB_MOD_MASK_CONTROL},
    };
    uint16_t result = 0;
    for (const auto& [mac, x] : table) {
        if (mask & mac) {
            result |= x;
            mask &= ~mac;
        }
    }
    if (mask != 0)
        return std::nullopt;
    return result;
}

// The first key that produces the keysym, unshifted keys first.
std::optional<xcb_keycode_t> keycodeFor(xcb_connection_t* connection, xcb_keysym_t keysym)
{
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> reply(
        xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr),
        &std::free);
    if (!reply)
        return std::nullopt;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int perKey = reply->keysyms_per_keycode;
    for (int column = 0; column < perKey; ++column) {
        for (int key = 0; key < count; ++key) {
            if (keysyms[key * perKey + column] == keysym)
                return xcb_keycode_t(setup->min_keycode + key);
        }
    }
    return std::nullopt;
}

std::vector<xcb_window_t> rootWindows(xcb_connection_t* connection)
{
    std::vector<xcb_window_t> roots;
    for (auto it = xcb_setup_roots_iterator(xcb_get_setup(connection)); it.rem;
         xcb_screen_next(&it))
        roots.push_back(it.data->root);
    return roots;
}

struct Grab {
    xcb_keycode_t keycode = 0;
    uint16_t modifiers = 0;
    HotKeyService::HotKeyId id;
};

} // namespace

class X11HotKeyService::Private final : public QAbstractNativeEventFilter {
public:
    explicit Private(xcb_connection_t* c) : connection(c), roots(rootWindows(c)) {}

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override;

    Status grab(const Grab& grab);
    void ungrab(const Grab& grab);
    void deliver(HotKeyId id); // a copy: a handler may unregister the hot key

    xcb_connection_t* connection;
    std::vector<xcb_window_t> roots;
    std::map<quintptr, PressHandler> handlers; // keyed by reference: installation order
    std::map<quintptr, Grab> grabs;
    quintptr nextRef = 1;

    // Auto-repeat of a held shortcut must not count as new presses: either the key was not
    // released since its last press, or (without detectable auto-repeat) its release came
    // with the very timestamp of the next press.
    std::optional<xcb_keycode_t> heldKey;
    xcb_keycode_t releasedKey = 0;
    xcb_timestamp_t releaseTime = 0;
};

HotKeyService::Status X11HotKeyService::Private::grab(const Grab& wanted)
{
    std::vector<xcb_void_cookie_t> cookies;
    for (const xcb_window_t root : roots) {
        for (const uint16_t lock : lockVariants)
            cookies.push_back(xcb_grab_key_checked(connection, 0, root, wanted.modifiers | lock,
                                                   wanted.keycode, XCB_GRAB_MODE_ASYNC,
                                                   XCB_GRAB_MODE_ASYNC));
    }
    Status status = noError;
    for (const xcb_void_cookie_t cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
            if (status == noError)
                status = error->error_code == XCB_ACCESS ? hotKeyExists : hotKeyInvalid;
            std::free(error);
        }
    }
    if (status != noError)
        ungrab(wanted);
    return status;
}

void X11HotKeyService::Private::ungrab(const Grab& grab)
{
    // Releases only this client's grabs: another client's grab of the same keys stays.
    // Waiting for the answers makes the keys free for others once this returns.
    std::vector<xcb_void_cookie_t> cookies;
    for (const xcb_window_t root : roots) {
        for (const uint16_t lock : lockVariants)
            cookies.push_back(
                xcb_ungrab_key_checked(connection, grab.keycode, root, grab.modifiers | lock));
    }
    for (const xcb_void_cookie_t cookie : cookies)
        std::free(xcb_request_check(connection, cookie));
}

void X11HotKeyService::Private::deliver(HotKeyId id)
{
    // Handlers may install or remove handlers while they run: walk a snapshot and skip the
    // ones removed meanwhile.
    const auto snapshot = handlers;
    for (auto it = snapshot.rbegin(); it != snapshot.rend(); ++it) {
        if (handlers.count(it->first) && it->second(id) == noError)
            return;
    }
}

bool X11HotKeyService::Private::nativeEventFilter(const QByteArray& eventType, void* message,
                                                  qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const uint8_t kind = event->response_type & 0x7f;
    if (kind != XCB_KEY_PRESS && kind != XCB_KEY_RELEASE)
        return false;
    // Press and release events share one layout.
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
    if (kind == XCB_KEY_RELEASE) {
        if (heldKey == key->detail) {
            heldKey.reset();
            releasedKey = key->detail;
            releaseTime = key->time;
        }
        return false;
    }
    const auto match = std::find_if(grabs.begin(), grabs.end(), [&](const auto& entry) {
        return entry.second.keycode == key->detail &&
               entry.second.modifiers == (key->state & meaningfulModifiers);
    });
    if (match == grabs.end())
        return false;
    const bool repeat =
        heldKey == key->detail || (releasedKey == key->detail && releaseTime == key->time);
    heldKey = key->detail;
    if (!repeat)
        deliver(match->second.id);
    return true;
}

X11HotKeyService::X11HotKeyService(xcb_connection_t* connection)
    : d(std::make_unique<Private>(connection))
{
    if (QCoreApplication* application = QCoreApplication::instance())
        application->installNativeEventFilter(d.get());
}

X11HotKeyService::~X11HotKeyService()
{
    for (const auto& entry : d->grabs)
        d->ungrab(entry.second);
    if (QCoreApplication* application = QCoreApplication::instance())
        application->removeNativeEventFilter(d.get());
}

std::unique_ptr<X11HotKeyService> X11HotKeyService::forApplication()
{
    // A console-only process has a QCoreApplication, which is no QGuiApplication.
    auto* gui = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    const auto* x11 = gui ? gui->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return nullptr;
    return std::make_unique<X11HotKeyService>(x11->connection());
}

HotKeyService::Answer<HotKeyService::HandlerRef>
X11HotKeyService::installPressHandler(PressHandler handler)
{
    const quintptr ref = d->nextRef++;
    d->handlers.emplace(ref, std::move(handler));
    return {noError, HandlerRef{ref}};
}

void X11HotKeyService::removePressHandler(HandlerRef ref)
{
    d->handlers.erase(quintptr(ref));
}

HotKeyService::Answer<HotKeyService::KeyRef>
X11HotKeyService::registerHotKey(quint32 keyCode, quint32 modifiers, HotKeyId id)
{
    const auto keysym = keysymFor(keyCode);
    const auto xModifiers = modifiersFor(modifiers);
    const auto keycode = keysym ? keycodeFor(d->connection, *keysym) : std::nullopt;
    if (!keycode || !xModifiers)
        return {hotKeyInvalid, {}};
    const Grab wanted{*keycode, *xModifiers, id};
    // X lets a client grab its own keys twice; the Mac refuses, and so do we.
    const bool ours = std::any_of(d->grabs.begin(), d->grabs.end(), [&](const auto& entry) {
        return entry.second.keycode == wanted.keycode && entry.second.modifiers == wanted.modifiers;
    });
    if (ours)
        return {hotKeyExists, {}};
    if (const Status status = d->grab(wanted); status != noError)
        return {status, {}};
    const quintptr ref = d->nextRef++;
    d->grabs.emplace(ref, wanted);
    return {noError, KeyRef{ref}};
}

void X11HotKeyService::unregisterHotKey(KeyRef ref)
{
    const auto grab = d->grabs.find(quintptr(ref));
    if (grab == d->grabs.end())
        return;
    d->ungrab(grab->second);
    d->grabs.erase(grab);
}

} // namespace tk
