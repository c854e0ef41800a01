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
-- Sales reports go from a note to its invoices and on to the payments.
CREATE INDEX IX_SaleNoteLine_ID ON SaleNoteLine (ID)
GO
CREATE INDEX IX_SaleNoteLine_SourceID ON SaleNoteLine (SourceID)
GO
CREATE INDEX IX_SaleInvoiceLine_ID ON SaleInvoiceLine (ID)
GO
CREATE INDEX IX_SaleInvoiceLine_NoteLineID ON SaleInvoiceLine (NoteLineID)
GO
CREATE INDEX IX_SalePayment_InvoiceLineID ON SalePayment (InvoiceLineID)
GO
