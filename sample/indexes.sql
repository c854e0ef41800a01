-- Made when the data are in: reports go from a head to its lines and back, and from an item or a
-- period to its vouchers.
CREATE INDEX IX_RdRecords_ID ON RdRecords (ID)
GO
CREATE INDEX IX_RdRecords_cInvCode ON RdRecords (cInvCode)
GO
CREATE INDEX IX_RdRecord_dDate ON RdRecord (dDate)
GO
-- The types in use, without reading the vouchers.
CREATE INDEX IX_RdRecord_cRdCode ON RdRecord (cRdCode, bRdFlag)
GO
CREATE INDEX IX_InvPosition_cPosCode ON InvPosition (cPosCode)
GO
CREATE INDEX IX_CurrentStock_cInvCode ON CurrentStock (cInvCode, cWhCode)
GO
CREATE INDEX IX_ComputationUnit_cGroupCode ON ComputationUnit (cGroupCode)
GO
