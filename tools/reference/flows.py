"""Tasks that take several calls: their procedures in the order of the calls."""

# The name of a task and its calls. The guide has them with their members and what is not known.
FLOWS = [
    ("Session", "a_login_1 a_check_login_1 a_logout_1"),
    ("Send a fax", "a_mk_dok_1 a_put_page_1 a_send_new_1 a_get_s_rec_new_1 a_get_log_1 "
                   "a_del_dok_1"),
    ("Read an inbox", "a_get_e_rec_new_ll_1 a_get_e_rec_new_1 a_get_pageb_1 a_exc_status_1 "
                      "a_del_dok_1"),
    ("Name a deputy", "o_get_user_1 o_check_v_cycle_1 o_put_user_1 a_get_o_user_1"),
    ("Reserve a line", "t_get_frei_1 t_reserve_1 t_get_trstat_1 t_put_trstat_1"),
    ("Read a page by its handle", "s_get_inf_1 s_open_page_1 s_get_block_1 s_close_page_1"),
    ("Register for notifications", "a_subscribe_1 a_unsubscribe_1"),
    ("Transmit, as a program that drives lines", "a_get_sendjob_ll_1 s_open_page_1 s_get_block_1 "
                                                 "s_close_page_1 a_put_s_stat_new_1"),
    ("Keep an address book", "a_put_tebu_1 a_put_tebul_1 a_get_tebul_ll_1 a_query_tebu_1 "
                             "a_fetch_result_1"),
]
