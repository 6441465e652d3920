#ifndef QZLIB_DB_FORMAT_H
#define QZLIB_DB_FORMAT_H

#include "sys/sys_types.h"

/// The constants of the database file and of the operations on it.
///
/// A database is one append-only file: a header, a main HD, and records that refer to each other by their
/// byte offset. Some constants share a value on purpose; hosts use both names. Only static members; any
/// thread.
class QZ_API QZDatabaseInfo
{
public:
    /// Places of the header bytes: version code, address mode, file mode. The main names and their older
    /// twins.
    static const QZInt64 DBV_ADDR = 0;
    static const QZInt64 DBV_POSITION = 0;
    static const QZInt64 DBAM_ADDR = 1;
    static const QZInt64 DBAM_POSITION = 1;
    static const QZInt64 DBFM_ADDR = 2;
    static const QZInt64 FILEMODE_POSITION = 2;

    /// Address modes: addresses of 4, 4 and 8 bytes.
    static const QZInt64 ADDR_MODE_32I = 1;
    static const QZInt64 ADDR_MODE_32 = 2;
    static const QZInt64 ADDR_MODE_64 = 3;

    /// File modes, byte 2 of the header.
    static const QZInt64 FILE_MODE1 = 1;
    static const QZInt64 FILE_MODE2 = 2;
    static const QZInt64 FILE_MODE3 = 3;

    /// For hosts; the engine does not read them.
    static const QZInt64 APP_MODE_CONSOLE = 1;
    static const QZInt64 APP_MODE_GUI = 2;

    /// Where the file length field stands, by version. The engine itself uses offset 16 only.
    static const QZInt64 DBL_POSITION_V1 = 5;
    static const QZInt64 DBL_POSITION_V4 = 5;
    static const QZInt64 DBL_POSITION_V5 = 16;
    static const QZInt64 DBL_POSITION_V9 = 16;

    /// Version codes, byte 0 of the header.
    static const QZInt64 DBV_CODE_V1 = 1;
    static const QZInt64 DBV_CODE_V4 = 4;
    static const QZInt64 DBV_CODE_V5 = 5;
    static const QZInt64 DBV_CODE_V9 = 9;

    /// Where the main HD stands, by version.
    static const QZInt64 MAIN_HD_ADDR_V4 = 9;
    static const QZInt64 MAIN_HD_ADDR_V5 = 31;
    static const QZInt64 MAIN_HD_ADDR_V9 = 31;

    /// A setting's two values.
    static const QZInt64 SETTING_OFF = 0;
    static const QZInt64 SETTING_ON = 1;

    /// The two mark bytes, '^' and '&': the ends of an HD and of a data record.
    static const QZByte MARK_HD = 0x5E;
    static const QZByte MARK_DATA = 0x26;

    /// The four trees of a version 1 file.
    static const QZInt64 TREEAV1 = 25;
    static const QZInt64 TREERV1 = 43;
    static const QZInt64 TREESV1 = 61;
    static const QZInt64 TREELV1 = 79;

    /// Tree numbers: the place of a tree's AD in the list of the main HD.
    static const QZInt64 TREEASN = 1;
    static const QZInt64 TREERSN = 2;
    static const QZInt64 TREESSN = 3;
    static const QZInt64 TREELSN = 4;
    static const QZInt64 TREEBSN = 5;

    /// Names of the write states for hosts.
    static const QZInt64 WRITE_ALLOW = 1;
    static const QZInt64 WRITE_REFUSE = 0;

    /// Which end of a record an address names.
    static const QZInt64 ADDRESS_MARK_THIS = 1;
    static const QZInt64 ADDRESS_MARK_END = 2;

    /// The two outcomes of an address test.
    static const QZInt64 ADDRESS_RIGHT = 1;
    static const QZInt64 ADDRESS_ERROR = 0;

    /// State of the rollback's write position.
    static const QZInt64 ROLLBACK_WRITEPOSITION_STATE_EMPTY = 1;
    static const QZInt64 ROLLBACK_WRITEPOSITION_STATE_NOTEMPTY = 2;

    /// Base of the second range of channel commands.
    static const QZInt64 MSGPRINT_CMD_OFFSET = 0x400;

    /// Type codes: 0x07, class, kind, 0.
    static const QZInt64 UNKNOWN = 0x7000000;
    static const QZInt64 ISNOTHING = 0x7000000;
    static const QZInt64 TYPE_TABLE = 0x7010000;
    static const QZInt64 TABLE_UNKNOWN = 0x7010000;
    static const QZInt64 TABLE_HD = 0x7010100;
    static const QZInt64 ISHD = 0x7010100;
    static const QZInt64 TYPE_DATA = 0x7020000;
    static const QZInt64 DATA_UNKNOWN = 0x7020000;
    static const QZInt64 DATA_LD = 0x7020100;
    static const QZInt64 ISLD = 0x7020100;
    static const QZInt64 DATA_PD = 0x7020200;
    static const QZInt64 ISPD = 0x7020200;
    static const QZInt64 DATA_AD = 0x7020300;
    static const QZInt64 ISAD = 0x7020300;
    static const QZInt64 DATA_CD = 0x7020400;
    static const QZInt64 ISCD = 0x7020400;
    static const QZInt64 DATA_RD = 0x7020500;
    static const QZInt64 ISRD = 0x7020500;

    /// Field selectors of an HD.
    static const QZInt64 HD_THIS = 0x7010101;
    static const QZInt64 HD_END = 0x7010102;
    static const QZInt64 HD_PREV = 0x7010103;
    static const QZInt64 HD_FIRSTPD = 0x7010104;
    static const QZInt64 HD_FIRSTDATA = 0x7010104;
    static const QZInt64 HD_LASTDATA = 0x7010105;
    static const QZInt64 HD_LASTDATA_THIS = 0x7010106;

    /// Field selectors of any data record.
    static const QZInt64 DATA_THIS = 0x7020001;
    static const QZInt64 DATA_END = 0x7020002;
    static const QZInt64 DATA_PREV = 0x7020003;
    static const QZInt64 DATA_NEXT = 0x7020004;
    static const QZInt64 DATA_HDA = 0x7020005;
    static const QZInt64 DATA_PREV_THIS = 0x7020006;
    static const QZInt64 DATA_PREV_END = 0x7020007;

    /// Field selectors of an LD.
    static const QZInt64 LD_THIS = 0x7020101;
    static const QZInt64 LD_END = 0x7020102;
    static const QZInt64 LD_PREV = 0x7020103;
    static const QZInt64 LD_NEXT = 0x7020104;
    static const QZInt64 LD_HDA = 0x7020105;
    static const QZInt64 LD_PREV_THIS = 0x7020106;
    static const QZInt64 LD_LDS = 0x7020110;
    static const QZInt64 LD_TREE_A = 0x7020111;
    static const QZInt64 LD_TREE_R = 0x7020112;
    static const QZInt64 LD_TREE_S = 0x7020113;

    /// Field selectors of a PD.
    static const QZInt64 PD_THIS = 0x7020201;
    static const QZInt64 PD_END = 0x7020202;
    static const QZInt64 PD_PREV = 0x7020203;
    static const QZInt64 PD_NEXT = 0x7020204;
    static const QZInt64 PD_HDA = 0x7020205;
    static const QZInt64 PD_PREV_THIS = 0x7020206;
    static const QZInt64 PD_LD_A = 0x7020211;
    static const QZInt64 PD_HD_A = 0x7020212;
    static const QZInt64 PD_DATA = 0x7020213;

    /// Field selectors of an AD.
    static const QZInt64 AD_THIS = 0x7020301;
    static const QZInt64 AD_END = 0x7020302;
    static const QZInt64 AD_PREV = 0x7020303;
    static const QZInt64 AD_NEXT = 0x7020304;
    static const QZInt64 AD_HDA = 0x7020305;
    static const QZInt64 AD_PREV_THIS = 0x7020306;
    static const QZInt64 AD_FREE = 0x7020310;

    /// Field selectors of a CD.
    static const QZInt64 CD_THIS = 0x7020401;
    static const QZInt64 CD_END = 0x7020402;
    static const QZInt64 CD_PREV = 0x7020403;
    static const QZInt64 CD_NEXT = 0x7020404;
    static const QZInt64 CD_HDA = 0x7020405;
    static const QZInt64 CD_PREV_THIS = 0x7020406;
    static const QZInt64 CD_DATA = 0x7020411;

    /// Field selectors of an RD.
    static const QZInt64 RD_THIS = 0x7020501;
    static const QZInt64 RD_END = 0x7020502;
    static const QZInt64 RD_PREV = 0x7020503;
    static const QZInt64 RD_NEXT = 0x7020504;
    static const QZInt64 RD_HDA = 0x7020505;
    static const QZInt64 RD_PREV_THIS = 0x7020506;
    static const QZInt64 RD_P = 0x7020511;
    static const QZInt64 RD_O = 0x7020512;
    static const QZInt64 RD_N = 0x7020513;

    /// Number of the only content of a PD and of a CD. No selectors: refused where a selector is due.
    static const QZInt64 PD_LN1 = 1;
    static const QZInt64 CD_LN1 = 1;

    /// Sub-operations of G_AL, D_DATA and G_CN.
    static const QZInt64 ADDRESSARRAYCOPY_ALL_PD_FROM_HD = 0x4031300;
    static const QZInt64 ADDRESSARRAYCOPY_PD_FROM_HD = 0x4031400;
    static const QZInt64 ADDRESSARRAYCOPY_SHNAPSHOTS = 0x4031500;
    static const QZInt64 ADDRESSARRAYCOPY_ROLLBACKMARKS = 0x4031600;
    static const QZInt64 HD_NODE_COUNT = 0x4032100;
    static const QZInt64 HD_NODE_COUNT_ALL = 0x4032200;
    static const QZInt64 HD_NODE_SN = 0x4032300;
    static const QZInt64 SN_GET_DATA_FROM_HD = 0x4032400;
    static const QZInt64 LD_LDS_COUNT = 0x4032500;
    static const QZInt64 DELETE_HD = 0x4021100;
    static const QZInt64 DELETE_LD = 0x4021200;
    static const QZInt64 DELETE_PD = 0x4021300;
    static const QZInt64 DELETE_DATA = 0x4021400;
    static const QZInt64 DELETE_PD_ALL = 0x4021500;
    static const QZInt64 DELETE_HD_ALL = 0x4021600;
    static const QZInt64 HD_RESET = 0x4021700;

    /// Declared sub-operations that D_DATA does not accept.
    static const QZInt64 DELETE_TREE_A = 0x4021800;
    static const QZInt64 DELETE_TREE_R = 0x4021900;
    static const QZInt64 DELETE_TREE_S = 0x4021A00;
    static const QZInt64 DELETE_TREE_L = 0x4021B00;
    static const QZInt64 DELETE_TREE_B = 0x4021C00;

    /// Keys of the system information reader.
    static const QZInt64 SYSINFO_DATABASEVERSION = 0x7030200;
    static const QZInt64 SYSINFO_ADDRMODE = 0x7030400;
    static const QZInt64 SYSINFO_FILEMODE = 0x7030500;
    static const QZInt64 SYSINFO_WRITEPROTECT = 0x7030600;
    static const QZInt64 SYSINFO_CURRENT_BUFSIZE = 0x7030700;
    static const QZInt64 SYSINFO_ROLLBACK = 0x7030800;

    /// Error codes: recorded as last error, or answered by structure checks.
    static const QZInt64 NORMAL = 0;
    static const QZInt64 BAD_STRUCT = 0x3030000;
    static const QZInt64 FRAME_ERROR = 0x3030200;
    static const QZInt64 PREV_ERROR = 0x3030300;
    static const QZInt64 TREEA_ERROR = 0x3030400;
    static const QZInt64 TREER_ERROR = 0x3030500;
    static const QZInt64 TREES_ERROR = 0x3030600;
    static const QZInt64 LDS_ERROR = 0x3030700;
    static const QZInt64 NEXT_ERROR = 0x3030800;
    static const QZInt64 PD_LD_ERROR = 0x3030900;
    static const QZInt64 PD_HD_ERROR = 0x3031000;
    static const QZInt64 PD_LD_DELETED = 0x3031100;
    static const QZInt64 CHAR_ERROR = 0x3031200;
    static const QZInt64 GET_INFO_FROM_HD_FILED = 0x3031200;
    static const QZInt64 ERROR_FILE_ACCESS = 0x3031300;
    static const QZInt64 BAD_PARAMETER = 0x3031300;
    static const QZInt64 WRITE_FAILED = 0x40100;
    static const QZInt64 WRITE_ERROR_WRITEPROTECT = 0x40101;
    static const QZInt64 ROLLBACK_ERROR_ROLLBACKOFF = 0x50200;
    static const QZInt64 ROLLBACK_ERROR_INVALIDADDR = 0x50300;
    static const QZInt64 ERROR_ABORT = 0x3090400;

    /// Error codes that are declared and that nothing in the library throws.
    static const QZInt64 ERR_FILE_ACCESS = 0x3010100;
    static const QZInt64 ERR_FILE_CREATE = 0x3010200;
    static const QZInt64 PROCESS_FIND = 0x3020100;
    static const QZInt64 PROCESS_OPEN = 0x3020200;
    static const QZInt64 BAD_AD_LINKDRESS = 0x3030100;
    static const QZInt64 ERROR_PROCESS_FIND = 0x3031400;
    static const QZInt64 ERROR_PROCESS_OPEN = 0x3031500;
    static const QZInt64 BAD_ADDRESS = 0x3031600;
    static const QZInt64 GET_INFO_FROM_HD_FAILED = 0x3031700;
    static const QZInt64 ERROR_FILE_WRITE = 0x3031800;
    static const QZInt64 ERROR_FILE_READ = 0x3031900;
    static const QZInt64 ROLLBACK_ERROR_EMPTYWRITEPOSITION = 0x50100;
    static const QZInt64 VQMDBC_MAINMARK_ADDR_FIND = 0x3060100;
    static const QZInt64 VQMDBC_VQMDBS_ADDIN = 0x3060200;
    static const QZInt64 MODULE_VQMDBS_PROCESS_FIND = 0x3060300;
    static const QZInt64 ERROR_LOW_MEMORY = 0x3090200;
    static const QZInt64 ERROR_LOW_DESKFREE = 0x3090300;
};

#endif
