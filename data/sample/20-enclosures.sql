-- Storage enclosures, their management modules (EMMs), and the association between the two.
CREATE TABLE Tbl_XCIM_Enclosure (
    Tag                TEXT PRIMARY KEY,
    Name               TEXT,
    Manufacturer       TEXT,
    Model              TEXT,
    SerialNumber       TEXT,
    AssetTag           TEXT,
    PartNumber         TEXT,
    WWN                TEXT,
    HealthState        INTEGER,
    OperationalStatus  BLOB,
    ChassisKind        INTEGER,
    SlotCount          INTEGER,
    FanCount           INTEGER,
    EMMCount           INTEGER,
    TempProbeCount     INTEGER,
    Temperature        INTEGER,   -- degrees Celsius
    Height             INTEGER,   -- rack units
    LocateActive       INTEGER,
    InstallDate        INTEGER,
    SupportedProtocols BLOB,
    ConnectedPorts     BLOB
) STRICT;

INSERT INTO Tbl_XCIM_Enclosure VALUES
    -- The backplane inside the chassis: no modules, no asset tag, no ports of its own.
    ('Enclosure.1', 'Backplane', 'Vexo', 'BP-24N', 'BP240117A', NULL, '0KX7T4', '500056B3C2A7E1FD',
     5, CAST(X'02000000' || X'01000000' || '2' AS BLOB), 17, 24, 6, 0, 1, 29, 2, 0,
     unixepoch('2023-03-02 09:30:00') * 1000000,
     CAST(X'01000000' || X'02000000' || 'SAS#░#PCIe' AS BLOB), NULL),
    ('Enclosure.2', 'Upper disk shelf', 'Norvane', 'DS-4860', 'DS48602210093', 'RACK7-U20', 'NV-DS4860-02',
     '500A098000B1D73F',
     5, CAST(X'02000000' || X'02000000' || '2#░#11' AS BLOB), 22, 60, 4, 2, 4, 31, 4, 0,
     unixepoch('2023-03-02 11:05:00') * 1000000,
     CAST(X'01000000' || X'01000000' || 'SAS' AS BLOB), CAST(X'02000000' || X'02000000' || '0#░#1' AS BLOB)),
    -- One of its modules has failed.
    ('Enclosure.3', 'Lower disk shelf', 'Norvane', 'DS-4860', 'DS48602210101', 'RACK7-U16', 'NV-DS4860-02',
     '500A098000B1D80A',
     10, CAST(X'02000000' || X'02000000' || '3#░#11' AS BLOB), 22, 60, 4, 2, 4, 33, 4, 1,
     unixepoch('2023-03-02 11:20:00') * 1000000,
     CAST(X'01000000' || X'02000000' || 'SAS#░#SATA' AS BLOB), CAST(X'02000000' || X'01000000' || '2' AS BLOB));

CREATE TABLE Tbl_XCIM_EnclosureEMM (
    DeviceID      TEXT PRIMARY KEY,
    Name          TEXT,
    PartNumber    TEXT,
    SerialNumber  TEXT,
    Revision      TEXT,
    HealthState   INTEGER,
    EnabledState  INTEGER,
    Role          TEXT,
    LinkSpeed     INTEGER,   -- bits per second
    UpTime        INTEGER,   -- seconds
    SignalMargins BLOB,      -- decibels
    PortsUp       BLOB,
    LastReset     INTEGER
) STRICT;

INSERT INTO Tbl_XCIM_EnclosureEMM VALUES
    ('Enclosure.2#EMM.1', 'Module A', 'NV-EMM12-01', 'EMM2209A4471', '4.17', 5, 2, 'P', 12000000000, 3628800,
     CAST(X'02000000' || X'04000000' || '4#░#3#░#-1#░#2' AS BLOB),
     CAST(X'02000000' || X'04000000' || '1#░#1#░#0#░#1' AS BLOB),
     unixepoch('2024-04-01 02:00:00') * 1000000),
    ('Enclosure.2#EMM.2', 'Module B', 'NV-EMM12-01', 'EMM2209A4472', '4.17', 5, 2, 'S', 12000000000, 3628795,
     CAST(X'02000000' || X'04000000' || '5#░#3#░#2#░#2' AS BLOB),
     CAST(X'02000000' || X'04000000' || '1#░#1#░#1#░#1' AS BLOB),
     unixepoch('2024-04-01 02:00:05') * 1000000),
    ('Enclosure.3#EMM.1', 'Module A', 'NV-EMM12-01', 'EMM2209A4519', '4.17', 5, 2, 'P', 12000000000, 86461,
     CAST(X'02000000' || X'04000000' || '3#░#3#░#1#░#2' AS BLOB),
     CAST(X'02000000' || X'04000000' || '1#░#1#░#1#░#1' AS BLOB),
     unixepoch('2024-05-12 17:40:00') * 1000000),
    -- The failed one tells nothing but who it is.
    ('Enclosure.3#EMM.2', 'Module B', 'NV-EMM12-01', 'EMM2209A4523', NULL, 25, 6, 'S', NULL, NULL,
     NULL, CAST(X'02000000' || X'04000000' || '0#░#0#░#0#░#0' AS BLOB), NULL);

-- Left the module, right what depends on it. Rows whose right end is the system itself make no link: the
-- mapping links the system from everywhere.
CREATE TABLE Tbl_XCIM_EnclosureEMMDependency (
    __LeftClass     TEXT,
    __LeftClassKey  TEXT,
    __RightClass    TEXT,
    __RightClassKey TEXT
) STRICT;

INSERT INTO Tbl_XCIM_EnclosureEMMDependency VALUES
    ('XCIM_EnclosureEMM', 'Enclosure.2#EMM.1', 'XCIM_Enclosure', 'Enclosure.2'),
    ('XCIM_EnclosureEMM', 'Enclosure.2#EMM.2', 'XCIM_Enclosure', 'Enclosure.2'),
    ('XCIM_EnclosureEMM', 'Enclosure.3#EMM.1', 'XCIM_Enclosure', 'Enclosure.3'),
    ('XCIM_EnclosureEMM', 'Enclosure.3#EMM.2', 'XCIM_Enclosure', 'Enclosure.3'),
    ('XCIM_EnclosureEMM', 'Enclosure.2#EMM.1', 'XCIM_ComputerSystem', 'System.Embedded.1'),
    ('XCIM_EnclosureEMM', 'Enclosure.3#EMM.1', 'XCIM_ComputerSystem', 'System.Embedded.1');
