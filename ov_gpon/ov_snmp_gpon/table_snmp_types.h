// Types of the agent library, by name only: tables' headers declare their handlers with them, and few
// of those who include these call the library.
#pragma once

typedef struct netsnmp_mib_handler_s netsnmp_mib_handler;
typedef struct netsnmp_handler_registration_s netsnmp_handler_registration;
typedef struct netsnmp_agent_request_info_s netsnmp_agent_request_info;
typedef struct netsnmp_request_info_s netsnmp_request_info;
typedef struct netsnmp_iterator_info_s netsnmp_iterator_info;
typedef struct variable_list netsnmp_variable_list;

// A handler of the library's chains.
typedef int netsnmp_node_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                                 netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests);
