/*
 * The status registers and how a change of one reaches the others.
 */
#include "status.h"

#include "scpi/ieee488.h"

static const scpi_reg_info_t registerInfo[SCPI_REG_COUNT] = {
    {SCPI_REG_CLASS_STB, SCPI_REG_GROUP_STB},   {SCPI_REG_CLASS_SRE, SCPI_REG_GROUP_STB},
    {SCPI_REG_CLASS_EVEN, SCPI_REG_GROUP_ESR},  {SCPI_REG_CLASS_ENAB, SCPI_REG_GROUP_ESR},
    {SCPI_REG_CLASS_EVEN, SCPI_REG_GROUP_OPER}, {SCPI_REG_CLASS_ENAB, SCPI_REG_GROUP_OPER},
    {SCPI_REG_CLASS_COND, SCPI_REG_GROUP_OPER}, {SCPI_REG_CLASS_EVEN, SCPI_REG_GROUP_QUES},
    {SCPI_REG_CLASS_ENAB, SCPI_REG_GROUP_QUES}, {SCPI_REG_CLASS_COND, SCPI_REG_GROUP_QUES},
#if USE_CUSTOM_REGISTERS
#ifndef USER_REGISTER_DETAILS
#error "USE_CUSTOM_REGISTERS needs USER_REGISTER_DETAILS"
#else
    USER_REGISTER_DETAILS
#endif
#endif
};

static const scpi_reg_group_info_t groupInfo[SCPI_REG_GROUP_COUNT] = {
    {SCPI_REG_STB, SCPI_REG_SRE, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_STB,
     STB_SRQ},
    {SCPI_REG_ESR, SCPI_REG_ESE, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_STB,
     STB_ESR},
    {SCPI_REG_OPER, SCPI_REG_OPERE, SCPI_REG_OPERC, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_STB,
     STB_OPS},
    {SCPI_REG_QUES, SCPI_REG_QUESE, SCPI_REG_QUESC, SCPI_REG_NONE, SCPI_REG_NONE, SCPI_REG_STB,
     STB_QES},
#if USE_CUSTOM_REGISTERS
#ifndef USER_REGISTER_GROUP_DETAILS
#error "USE_CUSTOM_REGISTERS needs USER_REGISTER_GROUP_DETAILS"
#else
    USER_REGISTER_GROUP_DETAILS
#endif
#endif
};

/* A missing register counts as `otherwise`. */
static scpi_reg_val_t valueOr(const scpi_t* context, scpi_reg_name_t name,
                              scpi_reg_val_t otherwise) {
    return name < SCPI_REG_COUNT ? context->registers[name] : otherwise;
}

/*
 * Sets or clears bit 6 of the status byte. A service request goes out when the register that was
 * written has gained a bit, any bit, while an enabled one is set.
 */
static void updateServiceRequest(scpi_t* context, scpi_bool_t gained) {
    scpi_reg_val_t* stb = &context->registers[SCPI_REG_STB];
    const scpi_reg_val_t enabled = (scpi_reg_val_t)(*stb & context->registers[SCPI_REG_SRE]);

    if ((enabled & ~STB_SRQ) == 0) {
        *stb = (scpi_reg_val_t)(*stb & ~STB_SRQ);
        return;
    }
    *stb = (scpi_reg_val_t)(*stb | STB_SRQ);
    if (gained && context->interface && context->interface->control) {
        (void)context->interface->control(context, SCPI_CTRL_SRQ, *stb);
    }
}

static void updateSummary(scpi_t* context, const scpi_reg_group_info_t* group) {
    const scpi_reg_val_t enabled = (scpi_reg_val_t)(valueOr(context, group->event, 0) &
                                                    valueOr(context, group->enable, 0xffff));
    if (enabled) {
        SCPI_RegSetBits(context, group->parent_reg, group->parent_bit);
    } else {
        SCPI_RegClearBits(context, group->parent_reg, group->parent_bit);
    }
}

/* Without transition filters a condition that appears is an event, one that goes is none. */
static void updateEvents(scpi_t* context, const scpi_reg_group_info_t* group, scpi_reg_val_t old,
                         scpi_reg_val_t val) {
    const scpi_bool_t filtered = group->ptfilt != SCPI_REG_NONE || group->ntfilt != SCPI_REG_NONE;
    const scpi_reg_val_t appear = filtered ? valueOr(context, group->ptfilt, 0) : 0xffff;
    const scpi_reg_val_t go = filtered ? valueOr(context, group->ntfilt, 0) : 0;

    SCPI_RegSetBits(context, group->event,
                    (scpi_reg_val_t)((val & ~old & appear) | (old & ~val & go)));
}

scpi_reg_val_t SCPI_RegGet(scpi_t* context, scpi_reg_name_t name) {
    return (context && name < SCPI_REG_COUNT) ? context->registers[name] : 0;
}

void SCPI_RegSet(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t val) {
    scpi_reg_val_t old;

    if (!context || name >= SCPI_REG_COUNT || context->registers[name] == val) {
        return;
    }
    old = context->registers[name];
    context->registers[name] = val;
    switch (registerInfo[name].type) {
    case SCPI_REG_CLASS_STB:
    case SCPI_REG_CLASS_SRE:
        updateServiceRequest(context, (val & ~old) != 0);
        break;
    case SCPI_REG_CLASS_EVEN:
        updateSummary(context, &groupInfo[registerInfo[name].group]);
        break;
    case SCPI_REG_CLASS_COND:
        updateEvents(context, &groupInfo[registerInfo[name].group], old, val);
        break;
    case SCPI_REG_CLASS_ENAB:
        /* The summary follows at the next change of the event register: remote programs rely
         * on it (docs/compatibility.md: enable-later). */
    case SCPI_REG_CLASS_NTR:
    case SCPI_REG_CLASS_PTR:
        break;
    }
}

void SCPI_RegSetBits(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t bits) {
    SCPI_RegSet(context, name, (scpi_reg_val_t)(SCPI_RegGet(context, name) | bits));
}

void SCPI_RegClearBits(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t bits) {
    SCPI_RegSet(context, name, (scpi_reg_val_t)(SCPI_RegGet(context, name) & ~bits));
}

void SCPI_EventClear(scpi_t* context) {
    SCPI_RegSet(context, SCPI_REG_ESR, 0);
}

void scpiClearEvents(scpi_t* context) {
    int name;
    for (name = 0; name < (int)SCPI_REG_COUNT; name++) {
        if (registerInfo[name].type == SCPI_REG_CLASS_EVEN) {
            SCPI_RegSet(context, (scpi_reg_name_t)name, 0);
        }
    }
}
