-- The server itself. Its key is what the fixed "ComputerSystem" links of the mapping point to.
CREATE TABLE Tbl_XCIM_ComputerSystem (
    InstanceID        TEXT PRIMARY KEY,
    ElementName       TEXT,
    HostName          TEXT,
    Manufacturer      TEXT,
    Model             TEXT,
    SerialNumber      TEXT,
    AssetTag          TEXT,
    UUID              TEXT,
    PowerState        INTEGER,
    HealthState       INTEGER,
    OperationalStatus BLOB,
    Dedicated         BLOB,
    ProcessorCount    INTEGER,
    CoreCount         INTEGER,
    TotalMemory       INTEGER,   -- bytes
    ClockOffset       INTEGER,   -- microseconds against the time server
    UTCOffset         INTEGER,   -- minutes
    LastBootTime      INTEGER,
    ManufactureDate   INTEGER,
    BootOrder         BLOB,
    LockdownEnabled   INTEGER,
    PostCodes         BLOB
) STRICT;

INSERT INTO Tbl_XCIM_ComputerSystem VALUES (
    'System.Embedded.1', 'Storage server 7', 'stor-07.example.net', 'Vexo', 'Vexo T740', 'VX7Q2M1', NULL,
    '4c4c4544-0051-3210-804d-b7c04f373031', 2, 5,
    CAST(X'02000000' || X'01000000' || '2' AS BLOB),
    CAST(X'02000000' || X'01000000' || '3' AS BLOB),
    2, 48, 549755813888, -1843, -120,
    unixepoch('2024-05-01 04:12:07') * 1000000 + 250000,
    unixepoch('2023-02-17 00:00:00') * 1000000,
    CAST(X'01000000' || X'03000000' || 'NIC.Integrated.1-1-1#░#Disk.Bay.0:Enclosure.1#░#Optical.Virtual.1-1' AS BLOB),
    0,
    -- An array without elements: the header alone.
    CAST(X'02000000' || X'00000000' AS BLOB)
);
