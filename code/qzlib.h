#ifndef QZLIB_QZLIB_H
#define QZLIB_QZLIB_H

/// The one header that a host includes.
///
///     #include <qzlib.h>
///
///     int main()
///     {
///         QZLibInit();
///         ...
///         QZLibDispose();
///     }

#include "fw/fw_collection.h"
#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_encoding.h"
#include "fw/fw_environment.h"
#include "fw/fw_exception.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/fw_memory.h"
#include "fw/fw_object.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_package.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "fw/fw_time.h"
#include "fw/fw_value.h"
#include "os/os_block.h"
#include "os/os_buffer.h"
#include "os/os_console.h"
#include "os/os_file.h"
#include "os/os_file_buffer.h"
#include "os/os_file_directory.h"
#include "os/os_hex_text.h"
#include "os/os_ip_address.h"
#include "os/os_log.h"
#include "os/os_path.h"
#include "os/os_process.h"
#include "os/os_serial.h"
#include "os/os_settings.h"
#include "os/os_socket.h"
#include "os/os_socket_client.h"
#include "os/os_socket_server.h"
#include "os/os_stream.h"
#include "os/os_system_info.h"
#include "os/os_task.h"
#include "os/os_task_scheduler.h"
#include "os/os_thread.h"
#include "os/os_thread_pool.h"
#include "sys/sys_types.h"

#include "net/net_http.h"
#include "net/net_http_client.h"
#include "net/net_http_client_pool.h"
#include "net/net_http_connection.h"
#include "net/net_http_constant.h"
#include "net/net_http_context.h"
#include "net/net_http_cookie.h"
#include "net/net_http_engine.h"
#include "net/net_http_engine_tasks.h"
#include "net/net_http_factory.h"
#include "net/net_http_header.h"
#include "net/net_http_limits.h"
#include "net/net_http_page.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "net/net_http_server.h"
#include "net/net_http_site.h"
#include "net/net_json.h"
#include "net/net_json_strict.h"
#include "net/net_url.h"

#include "codec/cod_base64.h"
#include "codec/cod_compression.h"
#include "codec/cod_encryption.h"
#include "codec/cod_math.h"
#include "codec/cod_random.h"
#include "codec/cod_unique.h"

#include "device/dev_serial_device.h"

#include "db/db_channel.h"
#include "db/db_database.h"
#include "db/db_format.h"
#include "db/db_node.h"
#include "db/db_report.h"
#include "db/db_semantic.h"
#include "db/db_table.h"
#include "db/db_tree_table.h"

#include "graphics/gr_compositor.h"
#include "graphics/gr_display.h"
#include "graphics/gr_geometry.h"
#include "graphics/gr_graphics_factory.h"
#include "graphics/gr_image.h"
#include "graphics/gr_lattice.h"
#include "graphics/gr_layer.h"
#include "graphics/gr_palette.h"
#include "graphics/gr_pixels.h"
#include "graphics/gr_pixels_grid.h"
#include "graphics/gr_points.h"
#include "graphics/gr_shape.h"

/// Start and stop. A host calls these on one thread, before other library threads exist and after they have
/// ended.

/// Starts the library. Idempotent: a second call returns true at once.
/// @throws QZSocketException 1024 when the platform's socket layer does not start
QZ_API QZBool QZLibInit();

/// Ends the library: ends the factories, sets the process-wide abort flag and waits until every thread made
/// by QZThread::Create has returned. True, and nothing happens, when the library is not initialised.
QZ_API QZBool QZLibDispose();

/// Set and clear the form flag; each returns true.
QZ_API QZBool QZFormInit();
QZ_API QZBool QZFormDispose();

#endif
