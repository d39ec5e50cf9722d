#include "tools/stage/Resources.h"

#include <xcb/res.h>

#include <fstream>
#include <iterator>

namespace stage {
namespace {

std::filesystem::path folderOf(pid_t process) {
  return "/proc/" + std::to_string(process);
}

std::size_t residentKiBOf(pid_t process) {
  std::ifstream status(folderOf(process) / "status");
  for (std::string word; status >> word;) {
    std::size_t size = 0;
    if (word == "VmRSS:" && status >> size) return size;
  }
  return 0;
}

std::size_t descriptorsOf(pid_t process) {
  const auto last = std::filesystem::directory_iterator();
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folderOf(process) / "fd"), last));
}

// Over all of its connections.
std::size_t inServerOf(pid_t process, const XConnection& connection) {
  std::size_t count = 0;
  xcb_res_client_id_spec_t spec{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto ids = answer(connection, xcb_res_query_client_ids_reply, xcb_res_query_client_ids(connection, 1, &spec));
  if (!ids) return 0;
  for (auto id = xcb_res_query_client_ids_ids_iterator(ids.get()); id.rem > 0; xcb_res_client_id_value_next(&id)) {
    if (static_cast<pid_t>(*xcb_res_client_id_value_value(id.data)) != process) continue;
    const auto used = answer(connection, xcb_res_query_client_resources_reply,
                             xcb_res_query_client_resources(connection, id.data->spec.client));
    if (!used) continue;
    const auto* types = xcb_res_query_client_resources_types(used.get());
    for (int i = 0; i < xcb_res_query_client_resources_types_length(used.get()); ++i) count += types[i].count;
  }
  return count;
}

}  // namespace

Resources resourcesOf(const Guard& guard, const XConnection& connection) {
  Resources sum;
  for (const pid_t process : guard.process().processes()) {
    sum.residentKiB += residentKiBOf(process);
    sum.descriptors += descriptorsOf(process);
    sum.inServer += inServerOf(process, connection);
  }
  return sum;
}

std::string describe(const Resources& resources) {
  return std::to_string(resources.residentKiB) + " KiB, " + std::to_string(resources.descriptors) + " descriptors, " +
         std::to_string(resources.inServer) + " X resources";
}

}  // namespace stage
