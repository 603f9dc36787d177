-- 120 drives (three pages of a collection) and a class without instances.
--
--   bays   0 to  19 of Enclosure.1  SAS SSDs
--   bays  20 to  23 of Enclosure.1  NVMe drives
--   bays   0 to  47 of Enclosure.2  SAS hard disks
--   bays   0 to  47 of Enclosure.3  SATA hard disks
--
-- Drive 37 predicts its failure, drive 88 has failed, drive 119 is a spare.
CREATE TABLE Tbl_XCIM_DiskDrive (
    DeviceID           TEXT PRIMARY KEY,
    Name               TEXT,
    Manufacturer       TEXT,
    Model              TEXT,
    PartNumber         TEXT,
    SerialNumber       TEXT,
    Revision           TEXT,
    Slot               INTEGER,
    MediaKind          INTEGER,
    BusProtocol        INTEGER,
    RaidState          TEXT,
    HealthState        INTEGER,
    OperationalStatus  BLOB,
    Size               INTEGER,   -- bytes
    FreeSize           INTEGER,   -- bytes
    BlockSize          INTEGER,   -- bytes
    RotationRate       INTEGER,   -- per minute; NULL without moving parts
    Temperature        INTEGER,   -- degrees Celsius
    TemperatureMargin  INTEGER,   -- degrees to the drive's limit; negative above it
    RemainingEndurance INTEGER,   -- percent; NULL where nothing wears out
    BytesWritten       INTEGER,
    MediaErrors        INTEGER,   -- -1: the drive does not count them
    FailurePredicted   INTEGER,
    Encrypted          INTEGER,
    ManufactureDate    INTEGER,
    LastSelfTest       INTEGER,
    SelfTestTimes      BLOB,
    SelfTestPassed     BLOB,
    Identifiers        BLOB,
    LinkSpeeds         BLOB       -- megabits per second
) STRICT;

CREATE TEMP TABLE model (
    enclosure INTEGER, firstBay INTEGER, bays INTEGER, manufacturer TEXT, model TEXT, part TEXT, serial TEXT,
    revision TEXT, media INTEGER, bus INTEGER, bytes INTEGER, blockBytes INTEGER, rpm INTEGER, limitCelsius INTEGER,
    speedCount BLOB, speeds TEXT);
INSERT INTO model VALUES
    (1,  0, 20, 'Norvane', 'NV-S1920', '0HG7C2', 'S5G%05XN', 'B028', 2, 6, 1920383410176, 512, NULL, 70,
     X'03000000', '3000#░#6000#░#12000'),
    (1, 20,  4, 'Norvane', 'NV-P3840', '0XR42M', 'P4J%05XN', '2.3.1', 2, 7, 3840755982336, 4096, NULL, 72,
     X'02000000', '16000#░#32000'),
    (2,  0, 48, 'Kestrel Storage', 'KS-8000S', '0DT5K8', 'ZA1%05XK', 'KS0A', 1, 6, 8001563222016, 4096, 7200, 60,
     X'03000000', '3000#░#6000#░#12000'),
    (3,  0, 48, 'Kestrel Storage', 'KS-12TS', '0V9PPH', 'ZL2%05XK', 'SN04', 1, 5, 12000138625024, 4096, 7200, 60,
     X'03000000', '1500#░#3000#░#6000');

WITH RECURSIVE
    place(n, enclosure, bay) AS (
        SELECT 0, 1, 0
        UNION ALL
        SELECT n + 1, CASE WHEN n + 1 < 24 THEN 1 WHEN n + 1 < 72 THEN 2 ELSE 3 END,
               CASE WHEN n + 1 IN (24, 72) THEN 0 ELSE bay + 1 END
        FROM place WHERE n < 119),
    drive AS (
        SELECT n, bay, model.*, n = 88 AS failed, n = 37 AS failing, n = 119 AS spare,
               CASE WHEN n <> 88 THEN 26 + (n * 7) % 13 + CASE WHEN media = 1 THEN 4 ELSE 0 END END AS celsius,
               unixepoch('2022-09-05') + (n * 5) % 30 * 86400 AS made,
               unixepoch('2024-04-28 01:00:00') + n * 240 AS tested
        FROM place JOIN model ON place.enclosure = model.enclosure
                             AND bay BETWEEN firstBay AND firstBay + bays - 1)
INSERT INTO Tbl_XCIM_DiskDrive
SELECT
    printf('Disk.Bay.%d:Enclosure.%d', bay, enclosure),
    printf('Drive %d in enclosure %d', bay, enclosure),
    manufacturer, model, part, printf(serial, 40961 + n * 211), revision, bay, media, bus,
    CASE WHEN failed THEN 'F' WHEN spare THEN 'S' WHEN n < 2 THEN 'N' WHEN n < 24 THEN 'O' ELSE 'R' END,
    CASE WHEN failed THEN 25 WHEN failing THEN 10 ELSE 5 END,
    CASE WHEN failed  THEN CAST(X'02000000' || X'02000000' || '6#░#10' AS BLOB)
         WHEN failing THEN CAST(X'02000000' || X'02000000' || '5#░#11' AS BLOB)
         WHEN spare   THEN CAST(X'02000000' || X'02000000' || '2#░#15' AS BLOB)
         ELSE              CAST(X'02000000' || X'01000000' || '2' AS BLOB) END,
    bytes, CASE WHEN n BETWEEN 2 AND 23 THEN 0 ELSE bytes END, blockBytes, rpm,
    celsius, limitCelsius - celsius,
    CASE WHEN media = 2 THEN 100 - n % 7 END,
    CASE WHEN failed THEN NULL ELSE bytes * (3 + n % 5) END,
    CASE WHEN media = 2 THEN -1 WHEN failing THEN 17 ELSE 0 END,
    failing, n < 24,
    made * 1000000,
    CASE WHEN failed THEN NULL ELSE tested * 1000000 END,
    -- The two latest self tests: when, and whether the drive passed.
    CASE WHEN NOT failed THEN CAST(X'02000000' || X'02000000' || ((tested - 604800) * 1000000)
                                   || '#░#' || (tested * 1000000) AS BLOB) END,
    CASE WHEN NOT failed THEN CAST(X'02000000' || X'02000000' || '1#░#' || (failing = 0) AS BLOB) END,
    CAST(X'01000000' || X'02000000' || printf('naa.5000C5%010X', 9823401 + n * 4) || '#░#'
         || printf('eui.0025388%09X', 771 + n) AS BLOB),
    CAST(X'02000000' || speedCount || speeds AS BLOB)
FROM drive ORDER BY n;

DROP TABLE temp.model;

-- No volume is configured: the collection is empty.
CREATE TABLE Tbl_XCIM_StorageVolume (
    DeviceID    TEXT PRIMARY KEY,
    Name        TEXT,
    HealthState INTEGER,
    RaidLevel   INTEGER,
    Size        INTEGER,   -- bytes
    StripeSize  INTEGER,   -- bytes
    Drives      BLOB,
    InstallDate INTEGER
) STRICT;
