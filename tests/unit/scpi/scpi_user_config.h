/*
 * A program's own configuration: a transducer group that feeds the questionable status, with both
 * transition filters, and two errors.
 */
#define USER_REGISTERS                                                                             \
    USER_REG_TRANS, USER_REG_TRANSE, USER_REG_TRANSC, USER_REG_TRANSP, USER_REG_TRANSN,

#define USER_REGISTER_GROUPS USER_REG_GROUP_TRANS,

#define USER_REGISTER_DETAILS                                                                      \
    {SCPI_REG_CLASS_EVEN, USER_REG_GROUP_TRANS}, {SCPI_REG_CLASS_ENAB, USER_REG_GROUP_TRANS},      \
        {SCPI_REG_CLASS_COND, USER_REG_GROUP_TRANS}, {SCPI_REG_CLASS_PTR, USER_REG_GROUP_TRANS},   \
        {SCPI_REG_CLASS_NTR, USER_REG_GROUP_TRANS},

#define USER_REGISTER_GROUP_DETAILS                                                                \
    {USER_REG_TRANS,  USER_REG_TRANSE, USER_REG_TRANSC, USER_REG_TRANSP,                           \
     USER_REG_TRANSN, SCPI_REG_QUESC,  0x0400},

#define LIST_OF_USER_ERRORS                                                                        \
    X(USER_ERROR_HOT, 1001, "Transducer too hot")                                                  \
    X(USER_ERROR_COLD, 1002, "Transducer too cold")
