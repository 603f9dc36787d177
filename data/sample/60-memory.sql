-- Memory modules, still being loaded: 7 of 16 rows are there, and the class is not in the readiness table.
CREATE TABLE Tbl_XCIM_PhysicalMemory (
    Tag             TEXT PRIMARY KEY,
    Name            TEXT,
    Manufacturer    TEXT,
    PartNumber      TEXT,
    SerialNumber    TEXT,
    Capacity        INTEGER,   -- bytes
    Speed           INTEGER,   -- megahertz
    Rank            INTEGER,
    HealthState     INTEGER,
    MemoryType      INTEGER,
    ManufactureDate INTEGER
) STRICT;

WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 7)
INSERT INTO Tbl_XCIM_PhysicalMemory
SELECT printf('DIMM.Socket.A%d', i), printf('DIMM A%d', i), 'Halcor', 'HC32G4R3200', printf('36E0%04X', 4660 + i * 37),
       34359738368, 3200, 2, 5, 26, unixepoch('2022-11-21') * 1000000
FROM n;
