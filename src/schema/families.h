// The procedures of the interface, family by family; programs.cpp joins them to programs.
//
// Each family's file holds its records and one list for each program that has procedures in it.
// All lists are constant-initialised.
#pragma once

#include "schema/notes.h"
#include "schema/types.h"

namespace kvrpc::schema {

extern const procedure_list alpha_sessions;
extern const procedure_list alpha_documents;
extern const procedure_list alpha_jobs;
extern const procedure_list alpha_directories;
extern const procedure_list alpha_notifications;
extern const procedure_list alpha_users;
extern const procedure_list alpha_services;
extern const procedure_list lambda_processes;
extern const procedure_list nue_procedures;
extern const procedure_list omega_users;
extern const procedure_list omega_lines;
extern const procedure_list sigma_pages;
extern const procedure_list theta_jobs;
extern const procedure_list theta_transmission;

// The same with their notes; see notes.h.
extern const noted_list alpha_sessions_notes;
extern const noted_list alpha_documents_notes;
extern const noted_list alpha_jobs_notes;
extern const noted_list alpha_directories_notes;
extern const noted_list alpha_notifications_notes;
extern const noted_list alpha_users_notes;
extern const noted_list alpha_services_notes;
extern const noted_list lambda_processes_notes;
extern const noted_list nue_procedures_notes;
extern const noted_list omega_users_notes;
extern const noted_list omega_lines_notes;
extern const noted_list sigma_pages_notes;
extern const noted_list theta_jobs_notes;
extern const noted_list theta_transmission_notes;

}  // namespace kvrpc::schema
