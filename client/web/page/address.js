// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/**
 * What people type as an address, as the computer opens it: with https:// where there is no scheme.
 * A number after the colon is a port, so what precedes it is no scheme.
 */
export function fullAddress(typed) {
    const address = typed.trim();
    if (address === "" || /^[a-z][a-z0-9+.-]*:(?!\d+(?:[/?#]|$))/i.test(address)) {
        return address;
    }
    return `https://${address.replace(/^\/+/, "")}`;
}
