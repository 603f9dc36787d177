-- The sensors of the board: 63 in one collection without paging.
CREATE TABLE Tbl_XCIM_NumericSensor (
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

-- Arrays that many rows share.
CREATE TEMP TABLE states (kind TEXT PRIMARY KEY, possible BLOB, settable BLOB);
INSERT INTO states VALUES
    ('limits',
     CAST(X'01000000' || X'06000000'
          || 'Unknown#░#Normal#░#LowWarning#░#HighWarning#░#LowCritical#░#HighCritical' AS BLOB),
     CAST(X'02000000' || X'02000000' || '0#░#1' AS BLOB)),
    ('goodbad',
     CAST(X'01000000' || X'03000000' || 'Unknown#░#Good#░#Bad' AS BLOB),
     CAST(X'02000000' || X'00000000' AS BLOB));

-- Temperatures, in tenths of a degree. The margin is a distance to a limit and negative.
INSERT INTO Tbl_XCIM_NumericSensor
SELECT 'Tavix.Embedded.1#' || key, name, 2, 2, -1, reading, 'Normal', 5, 2, lowWarn, highWarn, lowCrit, highCrit,
       possible, settable
FROM (SELECT 'SystemBoardInletTemp' AS key, 'System Board Inlet Temp' AS name, 215 AS reading,
             30 AS lowWarn, 430 AS highWarn, -70 AS lowCrit, 470 AS highCrit
      UNION ALL SELECT 'SystemBoardExhaustTemp', 'System Board Exhaust Temp', 342, 30, 700, -70, 750
      UNION ALL SELECT 'CPU1Temp', 'CPU1 Temp', 473, 30, 960, 30, 1010
      UNION ALL SELECT 'CPU2Temp', 'CPU2 Temp', 458, 30, 960, 30, 1010
      UNION ALL SELECT 'CPU1ThermalMargin', 'CPU1 Thermal Margin', -487, NULL, 0, NULL, 0
      UNION ALL SELECT 'CPU2ThermalMargin', 'CPU2 Thermal Margin', -502, NULL, 0, NULL, 0),
     states WHERE kind = 'limits';

WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 16)
INSERT INTO Tbl_XCIM_NumericSensor
SELECT printf('Tavix.Embedded.1#DIMM%s%dTemp', CASE WHEN i <= 8 THEN 'A' ELSE 'B' END, (i - 1) % 8 + 1),
       printf('DIMM %s%d Temp', CASE WHEN i <= 8 THEN 'A' ELSE 'B' END, (i - 1) % 8 + 1),
       2, 2, -1, 320 + (i * 37) % 45, 'Normal', 5, 2, 30, 830, 0, 850, possible, settable
FROM n, states WHERE kind = 'limits';

-- Fans. The last one is missing from its bay: no reading, no thresholds.
WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 12)
INSERT INTO Tbl_XCIM_NumericSensor
SELECT printf('Tavix.Embedded.1#SystemBoardFan%d', i), printf('System Board Fan%d', i), 5, 19, 0,
       CASE WHEN i < 12 THEN 6840 + (i * 53) % 11 * 24 END, CASE WHEN i < 12 THEN 'Normal' ELSE '' END,
       CASE WHEN i < 12 THEN 5 ELSE 0 END, CASE WHEN i < 12 THEN 2 ELSE 3 END,
       CASE WHEN i < 12 THEN 1080 END, NULL, CASE WHEN i < 12 THEN 600 END, NULL, possible, NULL
FROM n, states WHERE kind = 'limits';

-- Voltage rails report good or bad, their readings in millivolts.
WITH rails(name, millivolts) AS (VALUES
    ('CPU1 VCORE', 1790), ('CPU1 VCCIO', 1050), ('CPU1 VSA', 850), ('CPU1 MEM012 VDDQ', 1204),
    ('CPU1 MEM345 VDDQ', 1206), ('CPU1 MEM012 VPP', 2512), ('CPU1 MEM345 VPP', 2508),
    ('CPU2 VCORE', 1788), ('CPU2 VCCIO', 1049), ('CPU2 VSA', 852), ('CPU2 MEM012 VDDQ', 1203),
    ('CPU2 MEM345 VDDQ', 1205), ('CPU2 MEM012 VPP', 2510), ('CPU2 MEM345 VPP', 2511),
    ('System Board 5V SWITCH', 5046), ('System Board 3.3V A', 3318), ('System Board 3.3V B', 3314),
    ('System Board BP0', 12120), ('System Board BP1', 12105), ('System Board DIMM', 12118),
    ('System Board PVNN SWITCH', 998), ('System Board 1.8V', 1806), ('System Board 2.5V AUX', 2503))
INSERT INTO Tbl_XCIM_NumericSensor
SELECT 'Tavix.Embedded.1#' || replace(name, ' ', '') || 'PG', name || ' PG', 3, 5, -3, millivolts, 'Good', 5, 2,
       NULL, NULL, NULL, NULL, possible, settable
FROM rails, states WHERE kind = 'goodbad';

-- Power and load of the whole board.
INSERT INTO Tbl_XCIM_NumericSensor
SELECT 'Tavix.Embedded.1#' || key, name, type, unit, 0, reading, 'Normal', 5, 2, NULL, warn, NULL, crit, possible,
       settable
FROM (SELECT 'SystemBoardPwrConsumption' AS key, 'System Board Pwr Consumption' AS name, 13 AS type, 7 AS unit,
             812 AS reading, 1610 AS warn, 1764 AS crit
      UNION ALL SELECT 'SystemBoardCPUUsage', 'System Board CPU Usage', 16, 65, 37, NULL, 101
      UNION ALL SELECT 'SystemBoardIOUsage', 'System Board IO Usage', 16, 65, 62, NULL, 101
      UNION ALL SELECT 'SystemBoardMEMUsage', 'System Board MEM Usage', 16, 65, 14, NULL, 101
      UNION ALL SELECT 'SystemBoardSYSUsage', 'System Board SYS Usage', 16, 65, 58, NULL, 101
      -- Sensor type 200 has no word in the mapping: its number is shown.
      UNION ALL SELECT 'SystemBoardCMOSBattery', 'System Board CMOS Battery', 200, 5, 3, NULL, NULL),
     states WHERE kind = 'limits';

DROP TABLE temp.states;
