// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

/// Divides the descriptors that this process may open between connections and the files that they
/// send, and reserves the rest: without a descriptor for a window or a D-Bus message, the toolkit
/// may wait forever.
class DescriptorBudget
{
public:
    /// Descriptors that are reserved from connections, so that the present ones can still send
    /// files, and those that are reserved from files too.
    static constexpr int connectionReserve = 64;
    static constexpr int fileReserve = 48;

    /// One descriptor of a connection or of a file; returned to the budget on destruction.
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

    /// Counts the descriptors that this process has open for other purposes. It reads the directory
    /// that lists them, which takes some microseconds per descriptor.
    void countOthers();

    bool hasRoomForConnections(int count) const { return left() - count >= connectionReserve; }
    bool hasRoomForFile() const { return left() > fileReserve; }
    /// The number of leases, of connections and files, at this moment.
    int leased() const { return leases; }

private:
    int left() const;

    int others = 0;
    int leases = 0;
};
