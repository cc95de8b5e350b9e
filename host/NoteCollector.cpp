#include "NoteCollector.h"

namespace {

thread_local NoteCollector* t_current = nullptr;

}  // namespace

NoteCollector::NoteCollector(QVector<FileNote>& notes) : m_notes(notes), m_outer(t_current)
{
    t_current = this;
}

NoteCollector::~NoteCollector()
{
    t_current = m_outer;
}

bool NoteCollector::takes(const QString& text)
{
    if (t_current)
        t_current->m_notes.append({t_current->m_subject, text});
    return t_current;
}
