// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/SpareKeys.h"
#include "platform/linux/x11/X11Connection.h"

#include <span>
#include <vector>

namespace platform {

/// Gives spare keys of the user's key map other keysyms, and keeps a record of that on the root
/// window. If this process is killed, the next one gives the keys back.
///
/// One process of a display has the right to do so: the one that owns a selection.
class SpareKeyRecord
{
public:
    /// Gives back what a killed process has left. A few round trips. The connection must outlive
    /// the record.
    explicit SpareKeyRecord(const X11Connection &openConnection);
    ~SpareKeyRecord();
    SpareKeyRecord(const SpareKeyRecord &) = delete;
    SpareKeyRecord &operator=(const SpareKeyRecord &) = delete;

    /// Whether this process may change the keys: it has the right, or takes it now. One or a few
    /// round trips.
    bool claim();

    /// The keys that no keyboard of the display uses. Reads all key maps, with many round trips.
    KeycodeSet spareKeys();

    /// The numbers of the first and the last request of a change.
    struct Requests
    {
        std::uint32_t first = 0;
        std::uint32_t last = 0;
    };

    /// Makes the changes, in one change of each keyboard's key map. `all` is what is bound
    /// afterwards. Only to be called while no other program can change the key map. A few round
    /// trips, or less than a second if the server does not answer.
    Requests bind(std::span<const SpareKeys::Binding> changes,
                  std::span<const SpareKeys::Binding> before,
                  std::span<const SpareKeys::Binding> all);

    /// Takes the keysyms off the keys again, where nobody has changed them since. A few round
    /// trips, in which no other program should change the key map.
    void giveBack(std::span<const SpareKeys::Binding> bindings);

private:
    using Bindings = std::vector<SpareKeys::Binding>;

    bool isOwner(xcb_window_t window) const;
    void recover();
    Bindings recorded() const;
    std::uint32_t record(const Bindings &bindings);
    void giveBackCoreKeys(std::span<const SpareKeys::Binding> bindings);
    void learnKeyboards();
    void setKeysyms(std::span<const SpareKeys::Binding> bindings);
    void setCoreKeysyms(std::span<const SpareKeys::Binding> bindings);
    template <typename Action>
    bool change(const std::vector<std::uint16_t> &changed,
                std::span<const SpareKeys::Binding> bindings, Action action);
    bool areDone(std::span<const xcb_void_cookie_t> changes) const;

    const X11Connection &connection;
    xcb_window_t marker;
    xcb_atom_t name; ///< Of the selection and of the property.
    std::vector<std::uint16_t> keyboards;
    std::vector<std::uint16_t> coreKeyboards;
};

} // namespace platform
