-- Which classes are completely loaded. XCIM_PhysicalMemory is not: its resources answer 503 with "Retry-After".
CREATE TABLE Tbl_CMPIReady (ClassName TEXT PRIMARY KEY) STRICT;

INSERT INTO Tbl_CMPIReady VALUES
    ('XCIM_ComputerSystem'),
    ('XCIM_Enclosure'),
    ('XCIM_EnclosureEMM'),
    ('XCIM_PowerSupply'),
    ('XCIM_PSNumericSensor'),
    ('XCIM_NumericSensor'),
    ('XCIM_DiskDrive'),
    ('XCIM_StorageVolume'),
    -- Letter case does not matter here.
    ('xcim_softwareidentity');
