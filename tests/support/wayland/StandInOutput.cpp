// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/StandInOutput.h"

#include "support/wayland/StandInCompositor.h"

#include <wayland-server.h>

namespace {

constexpr int version = 4;

constexpr struct wl_output_interface requests = {
    .release = [](wl_client * /*client*/, wl_resource *resource) { wl_resource_destroy(resource); },
};

} // namespace

StandInOutput::StandInOutput(StandInCompositor &owner, Description first)
    : compositor(owner)
    , description(std::move(first))
{
    const auto bind = [](wl_client *client, void *data, std::uint32_t wanted, std::uint32_t id) {
        auto &self = *static_cast<StandInOutput *>(data);
        wl_resource *made =
            wl_resource_create(client, &wl_output_interface, static_cast<int>(wanted), id);
        wl_resource_set_implementation(made, &requests, data, [](wl_resource *ended) {
            if (auto *output = static_cast<StandInOutput *>(wl_resource_get_user_data(ended))) {
                std::erase(output->resources, ended);
            }
        });
        self.resources.push_back(made);
        self.describe(made);
    };
    global = wl_global_create(compositor.get(), &::wl_output_interface, version, this, bind);
    compositor.flush();
}

StandInOutput::~StandInOutput()
{
    for (wl_resource *resource : resources) {
        wl_resource_set_user_data(resource, nullptr);
    }
    wl_global_destroy(global);
    compositor.flush();
}

void StandInOutput::change(const Description &next)
{
    description = next;
    for (wl_resource *resource : resources) {
        describe(resource);
    }
    compositor.flush();
}

void StandInOutput::describe(wl_resource *resource) const
{
    const auto &[name, place, pixels, scale, transform] = description;
    wl_output_send_geometry(resource, place.x(), place.y(), 0, 0, 0, "", "", transform);
    // One that it could have, too.
    wl_output_send_mode(resource, 0, 1, 1, 0);
    wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, pixels.width(), pixels.height(), 0);
    wl_output_send_scale(resource, scale);
    wl_output_send_name(resource, name.constData());
    wl_output_send_done(resource);
}
