-- Power supplies and their sensors. They find each other by their keys: PSU.Slot.<n> belongs to
-- Tavix.Embedded.1#PS<n>Current<n>.
CREATE TABLE Tbl_XCIM_PowerSupply (
    DeviceID              TEXT PRIMARY KEY,
    Name                  TEXT,
    Manufacturer          TEXT,
    Model                 TEXT,
    PartNumber            TEXT,
    SerialNumber          TEXT,
    FirmwareVersion       TEXT,
    HealthState           INTEGER,
    OperationalStatus     BLOB,
    EnabledState          INTEGER,
    InputType             INTEGER,
    TotalOutputPower      INTEGER,   -- milliwatts
    RatedInputWattage     INTEGER,
    InputVoltage          INTEGER,
    Range1MinInputVoltage INTEGER,   -- millivolts
    Range1MaxInputVoltage INTEGER,   -- millivolts
    RedundancyStatus      INTEGER,
    HotPluggable          INTEGER,
    InstallDate           INTEGER,
    PowerOnSeconds        INTEGER,
    EfficiencyPoints      BLOB       -- percent at 10, 20, 50 and 100 % load
) STRICT;

INSERT INTO Tbl_XCIM_PowerSupply VALUES
    ('PSU.Slot.1', 'Power supply 1', 'Lumeris', 'LM-1400P', '0PJMDN', 'CN1797238R0A12', '00.23.32',
     5, CAST(X'02000000' || X'01000000' || '2' AS BLOB), 2, 1, 1400000, 1568, 230, 100000, 264000, 2, 1,
     unixepoch('2023-03-02 08:45:00') * 1000000, 37411200,
     CAST(X'02000000' || X'04000000' || '90#░#94#░#96#░#91' AS BLOB)),
    ('PSU.Slot.2', 'Power supply 2', 'Lumeris', 'LM-1400P', '0PJMDN', 'CN1797238R0B07', '00.23.32',
     5, CAST(X'02000000' || X'01000000' || '2' AS BLOB), 2, 1, 1400000, 1568, 231, 100000, 264000, 2, 1,
     unixepoch('2023-11-20 14:10:00') * 1000000, 14688000,
     CAST(X'02000000' || X'04000000' || '90#░#94#░#96#░#91' AS BLOB));

CREATE TABLE Tbl_XCIM_PSNumericSensor (
    DeviceID                  TEXT PRIMARY KEY,
    ElementName               TEXT,
    SensorType                INTEGER,
    BaseUnits                 INTEGER,
    UnitModifier              INTEGER,   -- readings and thresholds count 10^UnitModifier of the unit
    CurrentReading            INTEGER,
    CurrentState              TEXT,
    HealthState               INTEGER,
    EnabledState              INTEGER,
    LowerThresholdNonCritical INTEGER,
    UpperThresholdNonCritical INTEGER,
    LowerThresholdCritical    INTEGER,
    UpperThresholdCritical    INTEGER,
    PossibleStates            BLOB,
    SettableThresholds        BLOB
) STRICT;

INSERT INTO Tbl_XCIM_PSNumericSensor VALUES
    ('Tavix.Embedded.1#PS1Current1', 'PS1 Current 1', 4, 6, -1, 21, 'Normal', 5, 2, NULL, NULL, NULL, NULL,
     CAST(X'01000000' || X'02000000' || 'Unknown#░#Normal' AS BLOB), CAST(X'02000000' || X'00000000' AS BLOB)),
    ('Tavix.Embedded.1#PS2Current2', 'PS2 Current 2', 4, 6, -1, 19, 'Normal', 5, 2, NULL, NULL, NULL, NULL,
     CAST(X'01000000' || X'02000000' || 'Unknown#░#Normal' AS BLOB), CAST(X'02000000' || X'00000000' AS BLOB)),
    ('Tavix.Embedded.1#PS1Voltage1', 'PS1 Voltage 1', 3, 5, 0, 230, 'Normal', 5, 2, 185, 255, 180, 264,
     CAST(X'01000000' || X'04000000' || 'Unknown#░#Normal#░#Low#░#High' AS BLOB), NULL),
    ('Tavix.Embedded.1#PS2Voltage2', 'PS2 Voltage 2', 3, 5, 0, 231, 'Normal', 5, 2, 185, 255, 180, 264,
     CAST(X'01000000' || X'04000000' || 'Unknown#░#Normal#░#Low#░#High' AS BLOB), NULL);
