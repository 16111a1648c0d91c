// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/X11Connection.h"

#include <utility>

namespace platform {

X11Connection::X11Connection(const char *displayName)
    : display(displayName)
    , connection(xcb_connect(displayName, &screen))
{
}

bool X11Connection::isOpen() const
{
    return xcb_connection_has_error(get()) == 0;
}

xcb_window_t X11Connection::root() const
{
    auto roots = xcb_setup_roots_iterator(xcb_get_setup(get()));
    for (int passed = 0; passed < screen && roots.rem > 1; ++passed) {
        xcb_screen_next(&roots);
    }
    return roots.data->root;
}

xcb_atom_t X11Connection::atom(const QByteArray &name) const
{
    const auto cookie =
        xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const auto reply = xcbOwned(xcb_intern_atom_reply(get(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void X11Connection::watch(std::function<void()> handler)
{
    notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(get()), QSocketNotifier::Read);
    // Not by `this`, which may be moved. The descriptor of a broken connection stays readable for
    // ever, so it is not watched any longer.
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [handler = std::move(handler), xcb = get(), watched = notifier.get()] {
                         handler();
                         watched->setEnabled(xcb_connection_has_error(xcb) == 0);
                     });
}

} // namespace platform
