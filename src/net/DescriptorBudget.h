// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

/// Shares the descriptors that this process may open among connections and the files that they
/// send, and keeps the rest back: a toolkit that gets none for a window or for a message to the
/// desktop may wait for one for good.
class DescriptorBudget
{
public:
    /// What is kept back from connections, so that those that are there can still send files, and
    /// from files too.
    static constexpr int connectionReserve = 64;
    static constexpr int fileReserve = 48;

    /// One descriptor of a connection or of a file; gives it back in the end.
    class Lease
    {
    public:
        Lease() = default;
        explicit Lease(DescriptorBudget &lender);
        ~Lease();
        Lease(Lease &&other) noexcept;
        Lease &operator=(Lease &&other) noexcept;

    private:
        DescriptorBudget *budget = nullptr;
    };

    /// Counts what this process has open for other purposes. The directory that lists it is read,
    /// so this takes some microseconds for each.
    void countOthers();

    bool hasRoomForConnections(int count) const { return left() - count >= connectionReserve; }
    bool hasRoomForFile() const { return left() > fileReserve; }
    /// To connections and files, now.
    int leased() const { return leases; }

private:
    int left() const;

    int others = 0;
    int leases = 0;
};
