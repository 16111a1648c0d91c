// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QPoint>
#include <QSize>

#include <vector>

class StandInCompositor;
struct wl_global;
struct wl_resource;

/// An output of a StandInCompositor, which does not tell logical measures apart. It is unplugged by
/// its destruction; do that once the client knows it, and before the compositor ends.
class StandInOutput
{
public:
    struct Description
    {
        QByteArray name;
        QPoint place;
        QSize pixels;
        int scale = 1;
        int transform = 0; ///< wl_output_transform
    };

    StandInOutput(StandInCompositor &compositor, Description first);
    ~StandInOutput();
    StandInOutput(const StandInOutput &) = delete;
    StandInOutput &operator=(const StandInOutput &) = delete;

    void change(const Description &next);

private:
    void describe(wl_resource *resource) const;

    StandInCompositor &compositor;
    Description description;
    wl_global *global;
    std::vector<wl_resource *> resources;
};
