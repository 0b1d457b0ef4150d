// The groups in which a person looks for a procedure, in the order of use, and the way from a
// procedure's name to its note.
#include "schema/notes.h"

#include <cstring>

#include "schema/families.h"

namespace kvrpc {
namespace {

using namespace schema;

constexpr const noted_list* families[] = {
    &alpha_sessions_notes,    &alpha_documents_notes,     &alpha_jobs_notes,
    &alpha_directories_notes, &alpha_notifications_notes, &alpha_users_notes,
    &alpha_services_notes,    &lambda_processes_notes,    &nue_procedures_notes,
    &omega_users_notes,       &omega_lines_notes,         &sigma_pages_notes,
    &theta_jobs_notes,        &theta_transmission_notes,
};

// clang-format off

constexpr procedure_group groups[] = {
    // name, sentence, start with, all
    {"Sessions",
     "Open a session first: lists ask for its loginid.",
     "a_login_1 a_check_login_1 a_logout_1",
     "a_login_1 a_mult_login_1 a_check_login_1 a_cha_userid_1 a_logout_1"},
    {"Passwords and permissions",
     "",
     "a_cha_pw_1 o_check_admpw_1",
     "a_cha_pw_1 a_put_u_perm_1 o_check_admpw_1 o_cha_admpw_1"},
    {"Documents and pages",
     "Make a document, fill it page by page, then send, copy, forward or print it.",
     "a_mk_dok_1 a_put_page_1 a_get_page_1",
     "a_mk_dok_1 a_put_page_1 a_put_pageb_1 a_ins_page_1 a_cp_page_1 a_del_page_1 "
     "a_put_comment_1 a_put_public_1 a_get_pb_1 a_get_p_1 a_get_p_rec_1 a_get_inf_1 "
     "a_get_page_1 a_get_pageb_1 a_cp_dok_1 a_forward_1 a_print_dok_1 a_exc_status_1 "
     "a_del_dok_1 a_bif_new_1 a_bif_1 a_put_bif_1 a_exc_bif_1"},
    {"Document logs and signatures",
     "",
     "a_get_log_1 a_put_log_1 a_put_sig_1",
     "a_get_log_1 a_get_logb_1 a_get_logl_1 a_put_log_1 a_get_sig_1 a_get_sigb_1 "
     "a_put_sig_1 a_put_sigb_1"},
    {"Sending",
     "",
     "a_send_new_1 a_get_s_rec_new_1 a_cancel_s_1",
     "a_send_new_1 a_sende_1 a_get_s_rec_new_1 a_get_s_rec_1 a_get_s_rec_new_ll_1 "
     "a_get_sb_1 a_get_s_1 a_cha_s_rec_new_1 a_cha_s_rec_1 a_cancel_s_1 a_restart_s_1"},
    {"Receiving",
     "List, read the record, then read the pages with the page procedures.",
     "a_get_e_rec_new_ll_1 a_get_e_rec_new_1 a_get_page_1",
     "a_get_e_rec_new_ll_1 a_get_eb_1 a_get_e_1 a_get_e_rec_new_1 a_get_e_rec_1"},
    {"Address books",
     "alpha and omega have the same family; a user's script works on alpha.",
     "a_get_tebu_llb_1 a_get_tebul_ll_1 a_put_tebul_1",
     "a_get_tebu_llb_1 a_get_tebu_ll_1 a_get_tebu_1 a_check_perm_1 a_put_tebu_1 "
     "a_get_tebul_ll_1 a_get_tebul_1 a_put_tebul_1 a_del_tebul_1 a_query_tebu_1 "
     "a_fetch_result_1 a_lookup_tsi_1 a_del_tebu_1 o_get_tebu_llb_1 o_get_tebu_ll_1 "
     "o_get_tebu_1 o_check_perm_1 o_put_tebu_1 o_get_tebul_ll_1 o_get_tebul_1 "
     "o_put_tebul_1 o_del_tebul_1 o_lookup_tsi_1 o_del_tebu_1"},
    {"Groups of addresses",
     "",
     "a_get_tgroup_llb_1 a_get_tgroupl_llb_1 a_put_tgroupl_1",
     "a_get_tgroup_llb_1 a_get_tgroup_ll_1 a_get_tgroup_1 a_put_tgroup_1 "
     "a_get_tgroupl_llb_1 a_get_tgroupl_ll_1 a_put_tgroupl_1 a_del_tgroupl_1 "
     "a_del_tgroup_1 o_get_tgroup_llb_1 o_get_tgroup_ll_1 o_get_tgroup_1 o_put_tgroup_1 "
     "o_get_tgroupl_llb_1 o_get_tgroupl_ll_1 o_put_tgroupl_1 o_del_tgroupl_1 "
     "o_del_tgroup_1"},
    {"Single address entries",
     "",
     "a_get_tele_1 a_search_tele_1 a_put_tele_1",
     "a_get_tele_1 a_search_tele_1 a_put_tele_1 a_del_tele_1 o_get_tele_ll_1 o_get_tele_1 "
     "o_search_tsi_1 o_put_tele_1 o_del_tele_1"},
    {"Users and deputies",
     "omega keeps the users; alpha has its local record beside them.",
     "o_get_user_llb_1 o_get_user_1 o_put_user_1",
     "o_get_user_llb_1 o_get_user_ll_1 o_get_user_1 o_search_bar_1 o_check_v_cycle_1 "
     "o_put_user_1 o_del_user_1 a_get_system_userlistb_1 a_get_system_userlist_1 "
     "a_get_o_user_1 a_check_cycle_1 a_put_o_user_1 a_get_user_1 a_put_user_1 a_del_user_1"},
    {"Groups of users",
     "",
     "o_get_group_ll_1 o_get_group_member_ll_1 o_put_groupl_1",
     "o_get_group_ll_1 o_get_group_1 o_put_group_1 o_get_groupl_ll_1 "
     "o_get_group_member_ll_1 o_put_groupl_1 o_check_groupl_1 o_del_groupl_1 o_del_group_1 "
     "o_make_verteiler_1 a_get_groups_1 a_get_o_group_1 a_get_group_1 a_check_groupl_1"},
    {"User settings",
     "",
     "a_get_usrconf_new_1 a_put_usrconf_new_1 a_get_usrconf_new_ll_1",
     "a_get_usrconf_new_ll_1 a_get_usrconf_new_1 a_put_usrconf_new_1 a_del_usrconf_new_1 "
     "a_get_usrconf_ll_1 a_get_usrconf_1 a_put_usrconf_1 a_del_usrconf_1"},
    {"Gateway, mail and reply addresses",
     "",
     "a_get_gwuser_ll_1 a_put_gwuser_1 a_get_reply_addr_1",
     "a_get_gwuser_ll_1 a_get_gwuser_1 a_put_gwuser_1 a_del_gwuser_1 a_get_muser_addr_ll_1 "
     "a_get_muser_line_ll_1 a_get_muser_addr_1 a_get_muser_line_1 a_put_muser_1 "
     "a_del_muser_1 a_get_reply_addr_ll_1 a_get_reply_addr_1 a_put_reply_addr_1 "
     "a_del_reply_addr_1 o_get_gwuser_ll_1 o_get_gwuser_1 o_put_gwuser_1 o_del_gwuser_1 "
     "o_get_muser_addr_ll_1 o_get_muser_line_ll_1 o_get_muser_addr_1 o_get_muser_line_1 "
     "o_put_muser_1 o_del_muser_1 o_get_reply_addr_ll_1 o_get_reply_addr_1 "
     "o_put_reply_addr_1 o_del_reply_addr_1"},
    {"Notifications and boards",
     "",
     "a_subscribe_1 a_unsubscribe_1 a_get_boardl_1",
     "a_subscribe_1 a_unsubscribe_1 a_put_board_1 a_get_boardl_1 a_get_board_1"},
    {"Lines and line types",
     "omega writes, alpha reads.",
     "o_get_faxl_new_ll_1 o_get_faxl_new_1 o_put_faxl_new_1",
     "o_get_faxl_new_ll_1 o_get_faxl_new_1 o_put_faxl_new_1 o_del_faxl_new_1 "
     "o_get_faxl_ll_1 o_get_faxl_1 o_put_faxl_1 o_del_faxl_1 o_get_faxg_ll_1 o_get_faxg_1 "
     "o_put_faxg_1 o_del_faxg_1 a_get_faxl_ll_1 a_get_faxl_new_1 a_get_faxl_1"},
    {"Line reservation, scanning and flags",
     "",
     "t_get_frei_1 t_reserve_1 t_get_trstat_1",
     "t_get_frei_1 a_get_frei_ll_1 t_reserve_1 t_get_trstat_1 t_put_trstat_1 a_put_scan_1 "
     "t_put_scan_1 t_get_scan_1 t_put_flag_1 t_get_flag_ll_1 t_get_flag_1 t_del_flag_1"},
    {"Transmission",
     "What a program that drives lines asks and reports.",
     "a_get_sendjob_ll_1 a_put_s_stat_new_1",
     "a_get_sendjob_ll_1 t_get_sendjob_ll_1 a_put_s_stat_new_1 a_put_s_stat_1 "
     "a_get_nue_nr_1 n_get_nr_1 a_dump_job_list_1"},
    {"Routes",
     "",
     "o_get_route_new_ll_1 o_put_route_new_1 a_apply_route_new_1",
     "o_get_route_new_ll_1 o_get_route_new_1 o_put_route_new_1 o_del_route_new_1 "
     "o_apply_route_new_1 o_get_route_ll_1 o_get_route_1 o_put_route_1 o_del_route_1 "
     "o_apply_route_1 a_get_route_new_ll_1 a_apply_route_new_1 a_apply_route_1"},
    {"Printers",
     "omega writes, alpha reads.",
     "a_get_printer_llb_1 o_put_printer_1",
     "a_get_printer_llb_1 a_get_printer_ll_1 a_get_printer_1 o_get_printer_llb_1 "
     "o_get_printer_ll_1 o_get_printer_1 o_put_printer_1 o_del_printer_1"},
    {"Servers of the installation",
     "",
     "o_get_alpha_ll_1 o_put_alpha_1",
     "o_get_alpha_ll_1 o_get_alpha_1 o_put_alpha_1 o_del_alpha_1 o_put_logins_1 "
     "o_legalhost_1 o_get_theta_ll_1 o_get_theta_1 o_put_theta_1 o_del_theta_1 "
     "o_get_pi_ll_1 o_get_pi_1 o_put_pi_1 o_del_pi_1"},
    {"Configuration and limits",
     "",
     "o_get_config_ll_1 o_put_config_1 o_get_configdata_new_1",
     "o_get_config_ll_1 o_get_config_1 o_put_config_1 o_del_config_1 a_get_config_1 "
     "o_get_configdata_new_1 o_get_configdata_1 a_get_configdata_new_1 a_get_configdata_1 "
     "o_get_compat_1 a_get_compat_1 o_cha_licence_1"},
    {"Time and text",
     "",
     "a_get_jetzt_1 a_zeitstring_1 a_str2zeit_1",
     "a_get_jetzt_1 a_zeitstring_1 a_str2zeit_1 a_get_tzenv_1 a_tra_str_1"},
    {"Page transfer",
     "Open, read until the page ends, close.",
     "s_open_page_1 s_get_block_1 s_close_page_1",
     "s_get_inf_1 s_open_page_1 s_get_block_1 s_close_page_1 s_openpage_old_1 "
     "s_getblock_old_1 s_closepage_old_1"},
    {"Process control",
     "",
     "l_get_status_1 l_ps_1 l_startserver_1",
     "l_get_status_1 l_ps_1 l_version_1 l_startfax_1 l_stopfax_1 l_startserver_1 "
     "l_stopserver_1 l_startdrivers_1 l_startdriver_1 l_stopdriver_1 l_startgateways_1 "
     "l_stopgateways_1 l_startgateway_1 l_stopgateway_1 l_startdaemons_1 l_stopdaemons_1 "
     "l_startdaemon64_1 l_stopdaemon64_1 l_startdaemon_1 l_stopdaemon_1 l_kill_1 "
     "l_set_stat_1 l_regserver_1"},
    {"Log and files",
     "",
     "l_get_nr_recs_1 l_get_rec_1 l_readfile_1",
     "l_get_nr_recs_1 l_get_rec_1 l_log_1 a_a_log_1 l_statfile_1 l_readfile_1 "
     "a_write_log_1 o_write_log_1 s_write_log_1 t_write_log_1"},
    {"Commands to servers",
     "Nothing is known of their effect but the name.",
     "a_reload_srvconf_1 a_sync_1",
     "a_reload_srvconf_1 a_reload_dest_1 a_clean_cache_1 a_sync_1 o_sync_1 a_init_1 "
     "a_exit_1 o_exit_1 l_exit_1 s_exit_1 n_exit_1 t_exit_1 t_shutdown_1"},
    {"Not understood",
     "No meaning is known.",
     "",
     "a_get_kzg_1 o_get_kzg_1 s_get_kzg_1 t_get_kzg_1 a_gamma_1"},
};

// Both forms of a pair stay in service; the later one carries what the third column says.
constexpr later_form later[] = {
    {"a_sende_1", "a_send_new_1",
     "headline, tsi, cpi, pincode and an error code; version 1 takes the long send record."},
    {"a_get_s_rec_1", "a_get_s_rec_new_1",
     "an error code and 13 more fields, among them ready and error_string."},
    {"a_get_s_1", "a_get_s_rec_new_ll_1",
     "an error code, blocks, and gw_type and mailaddr in the question."},
    {"a_get_sb_1", "a_get_s_rec_new_ll_1",
     "an error code, blocks, and gw_type and mailaddr in the question."},
    {"a_cha_s_rec_1", "a_cha_s_rec_new_1",
     "timeout; the answer is an error code and not a flag."},
    {"a_get_e_rec_1", "a_get_e_rec_new_1", "an error code, and a lineid of 20 characters."},
    {"a_get_e_1", "a_get_e_rec_new_ll_1",
     "an error code, blocks, and a lineid of 20 characters."},
    {"a_get_eb_1", "a_get_e_rec_new_ll_1",
     "an error code, blocks, and a lineid of 20 characters."},
    {"a_put_s_stat_1", "a_put_s_stat_new_1", "charges, error_string and job_alive."},
    {"a_get_usrconf_1", "a_get_usrconf_new_1", "names of 30 characters; an error code."},
    {"a_put_usrconf_1", "a_put_usrconf_new_1", "names of 30 characters."},
    {"a_del_usrconf_1", "a_del_usrconf_new_1", "names of 30 characters."},
    {"a_get_usrconf_ll_1", "a_get_usrconf_new_ll_1", "names of 30 characters."},
    {"o_get_faxl_1", "o_get_faxl_new_1",
     "22 more fields and an error code; it lacks getamt, res, timeout and three more."},
    {"o_put_faxl_1", "o_put_faxl_new_1",
     "22 more fields and an error code; it lacks getamt, res, timeout and three more."},
    {"o_del_faxl_1", "o_del_faxl_new_1", "a versioned argument."},
    {"o_get_faxl_ll_1", "o_get_faxl_new_ll_1",
     "22 more fields and an error code; it lacks getamt, res, timeout and three more."},
    {"a_get_faxl_1", "a_get_faxl_new_1",
     "22 more fields and an error code; it lacks getamt, res, timeout and three more."},
    {"o_get_route_1", "o_get_route_new_1",
     "pollalphaid, pollfaxid; version 1 a lineid of 20 characters."},
    {"o_put_route_1", "o_put_route_new_1",
     "pollalphaid, pollfaxid; version 1 a lineid of 20 characters."},
    {"o_del_route_1", "o_del_route_new_1", "a versioned argument."},
    {"o_get_route_ll_1", "o_get_route_new_ll_1",
     "pollalphaid, pollfaxid, an error code, and blocks."},
    {"a_apply_route_1", "a_apply_route_new_1",
     "pollalphaid, pollfaxid, errcode; version 2 with outselection 1 the whole route."},
    {"o_apply_route_1", "o_apply_route_new_1",
     "pollalphaid, pollfaxid, errcode; version 2 with outselection 1 the whole route."},
    {"a_get_configdata_1", "a_get_configdata_new_1",
     "PostScript level, gateway users, polling documents, two licence flags."},
    {"o_get_configdata_1", "o_get_configdata_new_1",
     "PostScript level, gateway users, polling documents, two licence flags."},
    {"a_put_muser_1", "a_put_gwuser_1", "gw_type, and a lineid of 20 characters."},
    {"a_del_muser_1", "a_del_gwuser_1", "gw_type."},
    {"a_get_muser_addr_1", "a_get_gwuser_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"a_get_muser_line_1", "a_get_gwuser_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"a_get_muser_addr_ll_1", "a_get_gwuser_ll_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"a_get_muser_line_ll_1", "a_get_gwuser_ll_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"o_put_muser_1", "o_put_gwuser_1", "gw_type, and a lineid of 20 characters."},
    {"o_del_muser_1", "o_del_gwuser_1", "gw_type."},
    {"o_get_muser_addr_1", "o_get_gwuser_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"o_get_muser_line_1", "o_get_gwuser_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"o_get_muser_addr_ll_1", "o_get_gwuser_ll_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"o_get_muser_line_ll_1", "o_get_gwuser_ll_1",
     "gw_type, an error code, and a lineid of 20 characters."},
    {"l_startdaemon_1", "l_startdaemon64_1", "names of 63 characters."},
    {"l_stopdaemon_1", "l_stopdaemon64_1", "names of 63 characters."},
    {"s_openpage_old_1", "s_open_page_1", "a handle of three numbers."},
    {"s_getblock_old_1", "s_get_block_1",
     "a handle of three numbers; the earlier one takes an offset."},
    {"s_closepage_old_1", "s_close_page_1", "a handle of three numbers."},
    {"a_get_printer_ll_1", "a_get_printer_llb_1", "blocks."},
    {"a_get_tgroup_ll_1", "a_get_tgroup_llb_1", "blocks."},
    {"a_get_tgroupl_ll_1", "a_get_tgroupl_llb_1", "blocks."},
    {"a_get_tebu_ll_1", "a_get_tebu_llb_1", "blocks."},
    {"o_get_user_ll_1", "o_get_user_llb_1", "blocks."},
    {"o_get_tgroup_ll_1", "o_get_tgroup_llb_1", "blocks."},
    {"o_get_tgroupl_ll_1", "o_get_tgroupl_llb_1", "blocks."},
    {"o_get_tebu_ll_1", "o_get_tebu_llb_1", "blocks."},
    {"o_get_printer_ll_1", "o_get_printer_llb_1", "blocks."},
    {"a_bif_1", "a_bif_new_1", "a versioned argument."},
    {"a_get_p_1", "a_get_pb_1", "blocks."},
    {"a_get_system_userlist_1", "a_get_system_userlistb_1", "blocks."},
};

// clang-format on

}  // namespace

const note* find_note(const char* procedure_name) {
  for (const noted_list* family : families) {
    for (std::uint32_t i = 0; i < family->count; ++i) {
      const noted_procedure& row = family->rows[i];
      if (std::strcmp(row.name, procedure_name) == 0) return &row.meaning;
    }
  }
  return nullptr;
}

constexpr later_form_list later_forms{later, sizeof later / sizeof later[0]};
constexpr group_list procedure_groups{groups, sizeof groups / sizeof groups[0]};

}  // namespace kvrpc
